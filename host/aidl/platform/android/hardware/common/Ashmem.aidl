package android.hardware.common;

/** A shared-memory region: its descriptor and its size in bytes. */
@VintfStability
parcelable Ashmem {
    ParcelFileDescriptor fd;
    long size;
}
