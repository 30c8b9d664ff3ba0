#pragma once

/// How the bytes of one EBCDIC code page stand to those of ISO 8859-1: one byte for one byte, in
/// both directions, and there and back is the same byte.
struct EBCDICtable {
  unsigned char toLatin1[256];    ///< indexed by the EBCDIC byte
  unsigned char fromLatin1[256];  ///< indexed by the ISO 8859-1 byte
};
