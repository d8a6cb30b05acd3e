#include "logbuild/Files.h"

#include <cstdio>

std::optional<std::string> LoadText(const std::string& path)
{
    const bool packed = path.size() > 3 && path.compare(path.size() - 3, 3, ".gz") == 0;
    std::FILE* in = nullptr;
    if (packed)
    {
        std::string quoted = "'";
        for (char c : path)
            quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
        quoted += "'";
        in = popen(("gzip -dc -- " + quoted).c_str(), "r");
    }
    else
        in = std::fopen(path.c_str(), "rb");
    if (in == nullptr)
        return std::nullopt;
    std::string text;
    char buffer[65536];
    size_t got = 0;
    while ((got = std::fread(buffer, 1, sizeof buffer, in)) > 0)
        text.append(buffer, got);
    if ((packed ? pclose(in) : std::fclose(in)) != 0)
        return std::nullopt;
    return text;
}

bool WriteBytes(const std::string& path, const Bytes& bytes)
{
    std::FILE* out = std::fopen(path.c_str(), "wb");
    if (out == nullptr)
        return false;
    const bool written = std::fwrite(bytes.data(), 1, bytes.size(), out) == bytes.size();
    return std::fclose(out) == 0 && written;
}
