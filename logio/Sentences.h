#pragma once

#include <cstdint>

// The text sentences of a log: split into fields, and the position of a
// "$GPGGA".

// Both readers of sentences look at no more than this many fields.
constexpr uint32_t kSentenceFields = 20;

// A sentence is looked at only when it fits a text of this size with its
// terminator.
constexpr uint32_t kSentenceBufferSize = 200;
struct SSentenceText
{
    char m_szText[kSentenceBufferSize];
};

// The sentence of a frame as a terminated text in `text`; false, and nothing
// copied, for a sentence too long to be looked at.
bool SentenceText(const uint8_t* frame, uint32_t length, SSentenceText& text);

// Splits `line` in place at commas and at its line end, and fills all
// `maxFields` slots of `fields`; slots behind the last field point at an empty
// text. Returns the number of fields found. A field runs from its first
// character to the next comma behind that character, so an empty field is not
// seen as such: "a,,b,c" gives "a", ",b" and "c".
uint32_t SplitFields(char* line, const char* fields[], uint32_t maxFields);

// A latitude of the form ddmm.mmmm and its "N" or "S", or a longitude of the
// form dddmm.mmmm and its "E" or "W", in degrees. Any other letter gives 0.0.
double ParseLatitude(const char* value, const char* side);
double ParseLongitude(const char* value, const char* side);

// The position of a split "$GPGGA" in degrees and metres, when the sentence
// counts: enough fields and a fix. A part whose fields are missing stays
// 0.0; the height is the geoid height plus the geoid separation, whatever
// their units.
bool PositionOfGga(const char* const fields[], uint32_t count, double llh[3]);
