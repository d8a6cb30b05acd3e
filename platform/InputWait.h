#pragma once

#include <cstddef>
#include <cstdint>

// Reading the log as it comes: from a file, or from a pipe, FIFO or terminal
// that another program fills while the conversion runs.

// The outcome of one read.
enum EReadResult
{
    eReadData,        // bytes arrived
    eReadEnd,         // the input has ended (or can't be read any further)
    eReadInterrupted, // a signal came before any byte
};

// Reads what is there, up to `size` bytes, waiting only when nothing is;
// `got` takes the number of bytes.
EReadResult ReadSome(int fd, uint8_t* buffer, size_t size, size_t& got);

// True when a read would not have to wait: bytes are there or the input has
// ended. A regular file is always ready.
bool InputReadyNow(int fd);

// True when `fd` is a regular file, which never keeps a reader waiting.
bool IsRegularFile(int fd);

// Milliseconds of a clock that only moves forward, for spacing work in time.
int64_t MonotonicMilliseconds();
