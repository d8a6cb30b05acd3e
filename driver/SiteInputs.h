#pragma once

#include <cstdint>
#include <string>

#include "driver/RunOptions.h"
#include "logio/Sentences.h"
#include "rinex/ObsWriter.h"

// Where the receiver stood and what it was: the inputs that the measurements
// don't carry. They come from the command line (-L, -H), from a scan of the
// log's site records before the conversion (-R), and from two sentences met
// during the conversion itself.

// What the site inputs have told the user once in a run.
struct SSiteNotes
{
    bool m_bBadHeightTold = false; // a site record's antenna height that isn't a number
};

// What the pre-scan of the log's site records writes to: the run's location,
// the header's site lines, the observation writer (an antenna moving from the
// start) and the notes.
struct SSiteTargets
{
    SRunOptions& m_Options;
    SExternalHeader& m_Header;
    CWriteRinexObs& m_ObsWriter;
    SSiteNotes& m_Notes;
};

// The pre-scan's first usable position: `text` is a file whose first line
// holds latitude, longitude and an optional height, or that text itself.
// Degrees and metres; on success the location of `options` is replaced.
void ReadLocation(const char* text, SRunOptions& options);

// -L, read before anything is written: the same forms as ReadLocation, and
// the values must be finite numbers on the globe. False with `reason` set
// when the text gives no such location; `llh` takes degrees and metres.
bool CheckLocation(const std::string& text, double llh[3], std::string& reason);

// Replaces the location of `options` by `llhDegrees` (degrees and metres).
void SetLocation(const double llhDegrees[3], SRunOptions& options);

// -H: a file of ready-made RINEX header lines, taken by their labels into
// `header`. A label the file doesn't hold leaves its line alone.
void ReadExternalHeader(const char* path, SExternalHeader& header);

// -H, before anything is written: false with `reason` set when the file
// can't be read to its end.
bool CheckExternalHeader(const std::string& path, std::string& reason);

// A sentence met during the conversion, NUL-ended and writable: a site record
// sets the antenna delta of the marker block, a position sentence its
// position. Allocates nothing.
void HandleSentence(char* line, CWriteRinexObs& writer, SSiteNotes& notes);

// -R in front of the input: reads the log once as text and builds the site's
// header lines from its records, takes the location from its first usable
// position sentence and tells the writer whether the antenna moves.
void ScanSiteRecords(const char* path, SSiteTargets& targets);
