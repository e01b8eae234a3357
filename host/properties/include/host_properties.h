/*
 * The host property store behind property_get/property_set.
 *
 * At the first read, the store loads the build.prop-style file named by the environment variable
 * TESSARO_PROPERTIES_FILE (when set): one "key=value" per line; blank lines and lines starting with
 * '#' are skipped; blanks around the key and around the value are dropped. A line without '=', with
 * an empty or too long key, or with a value too long for PROPERTY_VALUE_MAX is skipped with a log
 * line naming the file and line number. Values set in process override the file.
 */
#ifndef HOST_PROPERTIES_H
#define HOST_PROPERTIES_H

#ifdef __cplusplus
extern "C" {
#endif

#define HOST_PROPERTIES_FILE_VARIABLE "TESSARO_PROPERTIES_FILE"

/*
 * Forgets every value, both loaded and set in process; the file named by the environment variable
 * is read again at the next property_get. For tests that change properties between cases.
 */
void host_properties_reset(void);

#ifdef __cplusplus
}
#endif

#endif /* HOST_PROPERTIES_H */
