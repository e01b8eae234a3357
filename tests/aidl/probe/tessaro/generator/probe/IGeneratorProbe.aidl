package tessaro.generator.probe;

import android.hardware.common.NativeHandle;
import tessaro.generator.probe.IProbeListener;
import tessaro.generator.probe.ProbeInner;
import tessaro.generator.probe.ProbeRecord;

/** Every supported argument and return type, out parameters and failures. */
@VintfStability
interface IGeneratorProbe {
    boolean invert(in boolean value);
    int add(in int left, in int right);
    long negate(in long value);
    String echo(in String text);
    ParcelFileDescriptor duplicate(in ParcelFileDescriptor file);
    int[] reverseInts(in int[] values);
    long[] reverseLongs(in long[] values);
    ParcelFileDescriptor[] duplicateAll(in ParcelFileDescriptor[] files);
    ProbeRecord mirror(in ProbeRecord record);
    ProbeInner[] sortInners(in ProbeInner[] inners);
    void split(in NativeHandle handle, out int[] ints, out NativeHandle copy);
    int callListener(in IProbeListener listener, in int value);
    void refuse(in int exceptionCode, out ProbeInner inner);
}
