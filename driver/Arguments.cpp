#include "driver/Arguments.h"

#include <cctype>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "platform/FileAccess.h"

namespace
{
// Drops every double quote: the platform's quoting never reaches a file name.
std::string WithoutQuotes(const char* text)
{
    std::string result;
    for (const char* p = text; *p != '\0'; ++p)
    {
        if (*p != '"')
            result += *p;
    }
    return result;
}

// A word that starts with "/" is a path when such a file or folder exists, or
// when another "/" stands before any ":" (a path into folders, existing or
// not); otherwise it is an option, as "/E:10", "/B" or "/?".
bool IsSlashPath(const char* word)
{
    if (PathExists(WithoutQuotes(word).c_str()))
        return true;
    const char* colon = std::strchr(word, ':');
    const char* slash = std::strchr(word + 1, '/');
    return slash != nullptr && (colon == nullptr || slash < colon);
}

bool IsOption(const char* word)
{
    if (word[0] == '-')
        return true;
    return word[0] == '/' && !IsSlashPath(word);
}
} // namespace

SCommandLine SplitCommandLine(int argc, const char* const* argv)
{
    SCommandLine line;
    for (int i = 1; i < argc; ++i)
    {
        const char* word = argv[i];
        if (word[0] == '-' && word[1] == '-')
        {
            if (std::strcmp(word, "--help") == 0)
                line.m_bHelp = true;
            else if (std::strcmp(word, "--version") == 0)
                line.m_bVersion = true;
            else if (std::strcmp(word, "--force") == 0)
                line.m_bForce = true;
            else if (line.m_szUnknownLong.empty())
                line.m_szUnknownLong = word;
            continue;
        }
        SArgument argument;
        argument.m_szText = word;
        if (IsOption(word))
        {
            // The letter is the second character; the value starts behind it,
            // or behind a colon there. A lone "-" has no letter.
            argument.m_cLetter = static_cast<char>(std::toupper(static_cast<unsigned char>(word[1])));
            const char* value = word[1] == '\0' ? word + 1 : (word[2] == ':' ? word + 3 : word + 2);
            argument.m_szValue = WithoutQuotes(value);
            if (argument.m_cLetter == 0)
                argument.m_cLetter = ' ';
        }
        else
        {
            argument.m_szValue = WithoutQuotes(word);
        }
        line.m_aArguments.push_back(argument);
    }
    return line;
}

bool ReadNumber(const std::string& text, double& value)
{
    const char* start = text.c_str();
    char* end = nullptr;
    value = std::strtod(start, &end);
    if (end == start)
        return false;
    while (std::isspace(static_cast<unsigned char>(*end)))
        ++end;
    return *end == '\0' && std::isfinite(value);
}
