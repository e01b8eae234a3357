package vendor.korvane.hardware.tessaro.dravik;

@VintfStability
parcelable DRAVIK_SUBCMD_PARAMS_HD {
    long sub_cmd_id;
    int type;
    long value;
}
