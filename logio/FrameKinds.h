#pragma once

#include <cstdint>

// The five kinds of frame a log carries, numbered in the order they are tried.
enum EFrameKind : uint32_t
{
    eFramePacked = 0,   // "I", bit-packed header
    eFrameRtcm3 = 1,    // 0xD3
    eFrameBin = 2,      // "$BIN"
    eFrameSite = 3,     // 0xB7 0x59
    eFrameSentence = 4, // "$" up to the line end
};

constexpr uint32_t kFrameKindCount = 5;

// Answer of a frame parser at one position of the buffer.
enum EMatchResult : uint32_t
{
    eMatchNone = 0,  // no frame of this kind can start here
    eMatchMore = 1,  // the bytes so far fit; more are needed to decide
    eMatchFrame = 2, // a whole, checked frame starts here; its length was given
};

// Every parser has this form: it never reads past `available`, answers
// eMatchMore when `available` is 0, and writes `length` (which may be null)
// only with eMatchFrame.
using FrameParser = EMatchResult (*)(const uint8_t* bytes, uint32_t available, uint32_t* length);
