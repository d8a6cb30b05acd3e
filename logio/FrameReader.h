#pragma once

#include <cstdint>
#include <cstdio>

#include "logio/FrameKinds.h"

// Turns the log's byte stream into whole, checked frames. Reads the input in
// large blocks into a buffer owned by the caller, delivers each frame in
// place, and walks over everything no parser accepts one byte at a time.
class CBinFrameReader
{
public:
    CBinFrameReader(uint8_t* buffer, uint32_t capacity, const uint8_t enabled[kFrameKindCount]);

    // Makes room and reads. Returns the number of bytes read; 0 at the end of
    // the input or for a null stream.
    uint32_t Fill(std::FILE* stream);
    // The same from a descriptor, for input that arrives while the
    // conversion runs: takes what is there and waits only when nothing is.
    // The end of the input is set only when it has ended; a read that a
    // signal cut short returns 0 and leaves it clear.
    uint32_t Fill(int fd);

    // Delivers the next frame, or returns false when more bytes are needed or
    // all are consumed. Each output may be null. The pointer is valid until
    // the next Fill.
    bool NextFrame(const uint8_t** frame, uint32_t* length, uint32_t* kind);

    // Steps over CR and LF bytes; they don't count as skipped.
    void SkipLineEnds();

    // All enabled kinds become candidates again.
    void ResetCandidates();

    // Tries the candidate parsers at one position, in kind order; the first
    // whole frame wins. A kind that answers eMatchNone is struck from
    // `candidates`.
    static EMatchResult MatchFrame(const uint8_t* bytes, uint32_t available, uint32_t* length,
                                   uint8_t candidates[kFrameKindCount], uint32_t* kind);

    uint8_t* m_pBuffer;
    uint32_t m_uCapacity;
    uint32_t m_uReadPos;
    uint32_t m_uWritePos;
    uint32_t m_uSkipped;
    uint32_t m_uLastSkipped;
    uint8_t m_bEndOfInput;
    uint8_t m_abEnabled[kFrameKindCount];
    uint8_t m_abCandidate[kFrameKindCount];

private:
    // Compacts the buffer as needed; returns the room behind the data.
    uint32_t MakeRoom();
};

// The parser of "$BIN" frames.
EMatchResult MatchBinFrame(const uint8_t* bytes, uint32_t available, uint32_t* length);
