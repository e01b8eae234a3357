/*
 * System properties on a host: the platform's property_get and property_set over a host property
 * store (host_properties.h). Keys and values follow the platform's limits.
 */
#ifndef CUTILS_PROPERTIES_H
#define CUTILS_PROPERTIES_H

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

#define PROPERTY_KEY_MAX 32
#define PROPERTY_VALUE_MAX 92

/*
 * Copies the value of key into value, which must hold PROPERTY_VALUE_MAX bytes, and returns its
 * length (without the terminator). An unset or empty property yields default_value instead,
 * truncated to PROPERTY_VALUE_MAX - 1 bytes, or the empty string when default_value is null.
 * The result is always terminated.
 */
int property_get(const char* key, char* value, const char* default_value);

/*
 * Sets key to value in this process's store; an empty value makes the property read as unset.
 * Returns 0, or -1 when key is null, empty or too long, or value is null or too long.
 */
int property_set(const char* key, const char* value);

#ifdef __cplusplus
}
#endif

#endif /* CUTILS_PROPERTIES_H */
