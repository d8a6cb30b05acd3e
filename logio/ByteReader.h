#pragma once

#include <bit>
#include <cstdint>
#include <cstring>

// Every binary field of the log is little-endian and unaligned: a frame can
// start at any byte of the read buffer. Fields are therefore read one by one
// through memcpy, never by laying a structure over the bytes.

static_assert(std::endian::native == std::endian::little,
              "the field reader assumes a little-endian host");

template <typename T>
inline T ReadField(const uint8_t* bytes, uint32_t offset)
{
    T value;
    std::memcpy(&value, bytes + offset, sizeof(T));
    return value;
}

inline uint8_t ReadU8(const uint8_t* bytes, uint32_t offset) { return bytes[offset]; }
inline uint16_t ReadU16(const uint8_t* bytes, uint32_t offset) { return ReadField<uint16_t>(bytes, offset); }
inline int16_t ReadI16(const uint8_t* bytes, uint32_t offset) { return ReadField<int16_t>(bytes, offset); }
inline uint32_t ReadU32(const uint8_t* bytes, uint32_t offset) { return ReadField<uint32_t>(bytes, offset); }
inline int32_t ReadI32(const uint8_t* bytes, uint32_t offset) { return ReadField<int32_t>(bytes, offset); }
inline double ReadDouble(const uint8_t* bytes, uint32_t offset) { return ReadField<double>(bytes, offset); }
