#pragma once

#include <cstdint>

#include "logio/FrameKinds.h"

// Parsers of the four frame kinds beside "$BIN". Site frames and sentences
// carry data for the conversion; RTCM 3 and packed frames are only recognised
// so that they are consumed whole and nothing inside them is taken for a frame.

EMatchResult MatchPackedFrame(const uint8_t* bytes, uint32_t available, uint32_t* length);
EMatchResult MatchRtcm3Frame(const uint8_t* bytes, uint32_t available, uint32_t* length);
EMatchResult MatchSiteFrame(const uint8_t* bytes, uint32_t available, uint32_t* length);
EMatchResult MatchSentence(const uint8_t* bytes, uint32_t available, uint32_t* length);
