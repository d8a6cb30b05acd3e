#include "rinex/NumberFields.h"

#include <cstdio>
#include <cstring>

#include "rinex/NavWriter.h"

// The fields come from the runtime's %E conversion, one position wider than
// the field: a runtime that always prints three exponent digits fills that
// width exactly, and the field is its text with the exponent's first digit
// dropped. glibc prints two digits while the exponent allows it and three from
// 100 on, so its text can carry a leading blank of padding instead. Both cases
// come out the same by building the D form from the mantissa and the last two
// exponent digits and keeping the rightmost `width` characters: what is cut is
// padding only.
//
// An exponent of magnitude 100 or more has no room in the field; like the
// three-digit runtime, the field then shows its last two digits. No broadcast
// parameter comes near such a size.

namespace
{

constexpr const char* kSourceD19 = "%20.12E";
constexpr const char* kSourceD17 = "%18.10E";
constexpr const char* kSourceD16 = "%17.9E";
constexpr const char* kSourceD12 = "%13.4E";

// Large enough for any of the four source conversions of any double.
constexpr int kTextSize = 32;

int FormatDField(double value, const char* source, int width, char* dst)
{
    char text[kTextSize];
    std::snprintf(text, sizeof(text), source, value);

    char field[kTextSize];
    int length = 0;
    const char* letter = std::strchr(text, 'E');
    if (letter == nullptr)
    {
        // INF and NAN have no exponent: they keep their text, right-aligned.
        length = static_cast<int>(std::strlen(text));
        std::memcpy(field, text, static_cast<size_t>(length));
    }
    else
    {
        length = static_cast<int>(letter - text);
        std::memcpy(field, text, static_cast<size_t>(length));
        const char* digits = letter + 2;
        const size_t digitCount = std::strlen(digits);
        field[length++] = 'D';
        field[length++] = letter[1];
        field[length++] = digits[digitCount - 2];
        field[length++] = digits[digitCount - 1];
    }

    // Right-align in the field: cut leading padding, or (never with these
    // sources) pad with blanks.
    const int surplus = length - width;
    if (surplus >= 0)
    {
        std::memcpy(dst, field + surplus, static_cast<size_t>(width));
    }
    else
    {
        std::memset(dst, ' ', static_cast<size_t>(-surplus));
        std::memcpy(dst - surplus, field, static_cast<size_t>(length));
    }
    dst[width] = '\0';
    return width;
}

} // namespace

int FormatD19(double value, char* dst)
{
    return FormatDField(value, kSourceD19, kFieldD19, dst);
}

int FormatD17(double value, char* dst)
{
    return FormatDField(value, kSourceD17, kFieldD17, dst);
}

int FormatD16(double value, char* dst)
{
    return FormatDField(value, kSourceD16, kFieldD16, dst);
}

int FormatD12(double value, char* dst)
{
    return FormatDField(value, kSourceD12, kFieldD12, dst);
}

void WriteOrbitRow(const CWriteRinexNav& writer, double a, double b, double c, double d)
{
    if (writer.m_pFile == nullptr)
        return;

    // No blank between the fields but each field's own sign position, and no
    // field left empty: a spare field is written as 0.0 by the caller.
    constexpr int kIndent = 4;
    char line[kIndent + 4 * kFieldD19 + 1];
    std::memcpy(line, "    ", kIndent);
    char* at = line + kIndent;
    at += FormatD19(a, at);
    at += FormatD19(b, at);
    at += FormatD19(c, at);
    FormatD19(d, at);
    std::fprintf(writer.m_pFile, "%s\n", line);
}
