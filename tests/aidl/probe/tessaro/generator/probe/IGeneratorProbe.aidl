package tessaro.generator.probe;

import android.hardware.common.NativeHandle;
import tessaro.generator.probe.IProbeListener;
import tessaro.generator.probe.ProbeInner;
import tessaro.generator.probe.ProbeRecord;

/** Every supported argument kind, a return value beside out parameters, and failures. */
@VintfStability
interface IGeneratorProbe {
    /** One argument of every kind, in the order of the record's fields. */
    ProbeRecord pack(in boolean flag, in int count, in long total, in String label,
            in ParcelFileDescriptor file, in int[] ints, in long[] longs,
            in ParcelFileDescriptor[] files, in ProbeInner inner, in ProbeInner[] inners);
    /** Fills the out parameters, then fails with exceptionCode unless it is 0. */
    int split(in NativeHandle handle, in int exceptionCode, out int[] ints, out NativeHandle copy);
    int callListener(in IProbeListener listener, in int value);
}
