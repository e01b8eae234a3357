package tessaro.generator.probe;

/** A small record nested inside others, alone and in arrays. */
@VintfStability
parcelable ProbeInner {
    int value;
    String name;
}
