#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

// Opening the run's files without changing them, and what the system says
// about a file: the checks before a run look at every file first and empty
// an output only once all of them have passed.

// What a file is. Two names lead to the same file when device and inode agree.
struct SFileInfo
{
    uint64_t m_uDevice = 0;
    uint64_t m_uInode = 0;
    int64_t m_iSize = 0;
    bool m_bRegular = false;
    bool m_bDirectory = false;
    bool m_bCharDevice = false;
    bool m_bSeekable = false; // a position can be set: not a pipe or a socket
};

// Opens an existing file for reading. Returns 0, or the system's error number.
int OpenForReading(const char* path, int& fd, SFileInfo& info);

// Opens a file for reading and writing, creating it when it is missing, and
// leaves its content alone. `created` tells whether it was made now. Returns
// 0, or the system's error number.
int OpenForWriting(const char* path, int& fd, bool& created, SFileInfo& info);

// True when something of that name exists (a file, a folder, a device).
bool PathExists(const char* path);

// Up to `size` bytes from the start of the file, without moving its position.
std::string ReadFileHead(int fd, size_t size);

// Empties the file behind `fd`. Returns 0, or the system's error number.
int EmptyFile(int fd);

// A buffered stream over an open descriptor, which it then owns.
std::FILE* StreamOverDescriptor(int fd, const char* mode);

void CloseDescriptor(int fd);
void RemovePath(const char* path);

// The system's text for an error number.
std::string SystemReason(int error);
