package tessaro.generator.probe;

/** Passed to the probe as an interface argument. */
@VintfStability
interface IProbeListener {
    int notify(in int value);
}
