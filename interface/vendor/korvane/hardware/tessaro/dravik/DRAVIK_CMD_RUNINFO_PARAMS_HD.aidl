package vendor.korvane.hardware.tessaro.dravik;

@VintfStability
parcelable DRAVIK_CMD_RUNINFO_PARAMS_HD {
    long cmd_id;
    int type;
}
