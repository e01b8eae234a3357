package vendor.korvane.hardware.tessaro.dravik;

@VintfStability
parcelable DRAVIK_CMD_PARAMS_HD {
    long cmd_id;
    int type;
    long value;
}
