#pragma once

#include <optional>
#include <string>

#include "logbuild/FrameWriter.h"

// Reading the RINEX files a log is built from and writing the log: what every
// tool that builds logs or reads station data does the same way.

// The whole text of a file; a name ending in ".gz" is read through
// "gzip -dc", anything else as it is. Nothing when the file can't be read or
// gzip fails.
std::optional<std::string> LoadText(const std::string& path);

// Writes `bytes` as the whole file; false when it can't be written.
bool WriteBytes(const std::string& path, const Bytes& bytes);
