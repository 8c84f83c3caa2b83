/* The short name of a recording, as the recorder gives it: 27 characters, of which these positions are read.
 *
 *   0        medium: 'H' internal disk, 'U' USB medium, 'N' network share
 *   1        disk or device, one base-36 digit
 *   2        partition, one character (USB media)
 *   6 to 13  date directory
 *   20       record type: 'I', 'N', 'C', 'L' (locked) or 'B'
 */
#ifndef KMR_RECORDING_NAME_H
#define KMR_RECORDING_NAME_H

enum {
    KMR_NAME_MEDIUM = 0,
    KMR_NAME_DISK = 1,
    KMR_NAME_PARTITION = 2,
    KMR_NAME_DATE = 6,
    KMR_NAME_DATE_LENGTH = 8,
    KMR_NAME_RECORD_TYPE = 20,
    KMR_NAME_LENGTH = 27,
};

#endif
