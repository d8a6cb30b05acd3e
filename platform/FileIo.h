#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>

// Stream positions and file truncation, the two file operations the C library
// leaves to the platform. Output files are written without character
// translation, so a position is a plain 64-bit byte offset: files above 4 GiB
// work, and 0 can be told apart as "no position".

using StreamPos = int64_t;

// The current position of `stream`.
StreamPos GetStreamPos(std::FILE* stream);

// Moves `stream` to a position read by GetStreamPos. False when it can't.
bool SetStreamPos(std::FILE* stream, StreamPos pos);

// Cuts the file behind `stream` at the stream's current position: every byte
// from there on is removed, and the stream stays usable for writing there.
// What the stream had buffered reaches the file first. A device has nothing
// to cut: that counts as done.
bool TruncateAtStreamPos(std::FILE* stream);

// Writes `length` bytes at position `pos` of the file behind `stream` without
// moving the stream, so writing goes on where it was. What the stream had
// buffered reaches the file first.
bool WriteAtStreamPos(std::FILE* stream, StreamPos pos, const char* data, size_t length);
