/* Every multi-byte field of a recording is little-endian, and records are moved by plain copies. */
#ifndef KMR_BASE_BYTE_ORDER_H
#define KMR_BASE_BYTE_ORDER_H

#if __BYTE_ORDER__ != __ORDER_LITTLE_ENDIAN__
#error "recordings are little-endian and so must be the machine that reads them"
#endif

#endif
