#pragma once

#include <string>
#include <vector>

// The command line as words: options with their letter and value, file
// names by their position. Nothing is opened or checked here beyond telling a
// path that starts with "/" from an option.

struct SArgument
{
    std::string m_szText;  // the word as given, for messages
    char m_cLetter = 0;    // an option's letter, upper-cased; 0 for a file name
    std::string m_szValue; // an option's value, or the file name; double quotes removed
};

struct SCommandLine
{
    std::vector<SArgument> m_aArguments; // in command-line order
    bool m_bHelp = false;                // --help
    bool m_bVersion = false;             // --version
    bool m_bForce = false;               // --force
    std::string m_szUnknownLong;         // the first other word starting with "--"
};

// Splits the arguments after element 0.
SCommandLine SplitCommandLine(int argc, const char* const* argv);

// Reads a whole option value as a number: blanks around it are allowed,
// anything else is not. False for an empty or partly numeric text, and for
// infinities and NaN.
bool ReadNumber(const std::string& text, double& value);
