// Frozen snapshot of one version of this AIDL API. Do not edit it: the interface
// hash of the version is computed over this exact text.
package vendor.korvane.hardware.tessaro.dravik;
@VintfStability
parcelable DRAVIK_CMD_PARAMS_HD {
  long cmd_id;
  int type;
  long value;
}
