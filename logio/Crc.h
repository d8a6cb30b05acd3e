#pragma once

#include <cstddef>
#include <cstdint>

// The five frame checks, each by a 256-entry table built from its polynomial.

uint8_t Crc8(const uint8_t* bytes, size_t count);         // poly 0x07, init 0
uint16_t Crc16Xmodem(const uint8_t* bytes, size_t count); // poly 0x1021, init 0
uint16_t Crc16X25(const uint8_t* bytes, size_t count);    // reflected 0x8408, init and final XOR 0xFFFF
uint32_t Crc24Q(const uint8_t* bytes, size_t count);      // poly 0x1864CFB, init 0
uint32_t Crc32Bzip2(const uint8_t* bytes, size_t count);  // poly 0x04C11DB7, init and final XOR 0xFFFFFFFF
