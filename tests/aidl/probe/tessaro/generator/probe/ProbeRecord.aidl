package tessaro.generator.probe;

import tessaro.generator.probe.ProbeInner;

/** One field of every kind a record can hold, some with defaults. */
@VintfStability
parcelable ProbeRecord {
    boolean flag = true;
    int count = -7;
    long total = 0x10;
    String label;
    ParcelFileDescriptor file;
    int[] ints;
    long[] longs;
    ParcelFileDescriptor[] files;
    ProbeInner inner;
    ProbeInner[] inners;
}
