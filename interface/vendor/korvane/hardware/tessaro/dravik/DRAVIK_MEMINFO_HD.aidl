package vendor.korvane.hardware.tessaro.dravik;

@VintfStability
parcelable DRAVIK_MEMINFO_HD {
    long mem_id;
    long mem_ptr;
    ParcelFileDescriptor[] fds;
    int reserved;
    int size;
}
