package android.hardware.common;

/** A native handle in transit: its descriptors, then its integers. */
@VintfStability
parcelable NativeHandle {
    ParcelFileDescriptor[] fds;
    int[] ints;
}
