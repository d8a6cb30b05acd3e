#pragma once

#include <algorithm>
#include <cstdio>
#include <memory>
#include <string>

#include "logbuild/FrameWriter.h"
#include "logio/FrameParsers.h"
#include "logio/FrameReader.h"

// Runs `parser` on an exact-size heap copy, so the address sanitizer sees any
// read past the `available` bytes.
inline EMatchResult MatchExact(FrameParser parser, const Bytes& bytes, size_t available, uint32_t* length = nullptr)
{
    std::unique_ptr<uint8_t[]> copy(new uint8_t[available]);
    std::copy_n(bytes.begin(), available, copy.get());
    return parser(copy.get(), static_cast<uint32_t>(available), length);
}

inline Bytes Text(const std::string& text) { return Bytes(text.begin(), text.end()); }

inline Bytes Concat(std::initializer_list<Bytes> pieces)
{
    Bytes log;
    for (const Bytes& piece : pieces)
        AppendBytes(log, piece);
    return log;
}

// Payload bytes that vary, so that sums and checks see more than zeros.
inline Bytes Pattern(size_t size, uint8_t seed)
{
    Bytes bytes(size);
    for (size_t i = 0; i < size; ++i)
        bytes[i] = static_cast<uint8_t>(seed + i * 37);
    return bytes;
}
