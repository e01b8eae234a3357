/**
 * What generated records declare about themselves (header only).
 */
#pragma once

namespace ndk {

/**
 * The stability of a record: STABILITY_LOCAL records stay within one partition, STABILITY_VINTF
 * records (declared @VintfStability) may cross partitions through stable interfaces.
 */
enum parcelable_stability_t {
    STABILITY_LOCAL,
    STABILITY_VINTF,
};

}  // namespace ndk
