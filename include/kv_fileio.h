// Binary element I/O.
//
// Each call transfers `count` elements between memory and the FILE's current
// position and returns how many elements were transferred completely. The
// encoding is the same on every platform: little-endian, fixed width:
//   unsigned int, int  4 bytes (two's complement for int)
//   double             8 bytes, IEEE 754 binary64
//   bool               1 byte, written as 0 or 1; any non-zero byte reads true
// A short read leaves the element that could not be completed unchanged and
// the FILE's end-of-file or error indicator set.
#ifndef EXPRCURVE_KV_FILEIO_H
#define EXPRCURVE_KV_FILEIO_H

#include <cstddef>
#include <cstdio>

namespace corvane {

size_t ReadUInt(unsigned int* values, size_t count, FILE* file);
size_t WriteUInt(unsigned int* values, size_t count, FILE* file);
size_t ReadInt(int* values, size_t count, FILE* file);
size_t WriteInt(int* values, size_t count, FILE* file);
size_t ReadDouble(double* values, size_t count, FILE* file);
size_t WriteDouble(double* values, size_t count, FILE* file);
size_t ReadBool(bool* values, size_t count, FILE* file);
size_t WriteBool(bool* values, size_t count, FILE* file);

}  // namespace corvane

#endif  // EXPRCURVE_KV_FILEIO_H
