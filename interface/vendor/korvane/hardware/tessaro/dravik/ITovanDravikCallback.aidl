package vendor.korvane.hardware.tessaro.dravik;

/**
 * A client's token. The service never calls it: it only watches the binder
 * behind it to learn when the client process dies.
 */
@VintfStability
interface ITovanDravikCallback {
}
