package vendor.korvane.hardware.tessaro.dravik;

@VintfStability
parcelable DRAVIK_CMDBUF_INFO_HD {
    long cmd_buf_id;
    ParcelFileDescriptor[] fds;
    int reserved;
    int size;
}
