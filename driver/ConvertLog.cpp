#include "driver/ConvertLog.h"

#include <cerrno>
#include <cstdint>
#include <cstring>

#include "driver/RunFiles.h"
#include "driver/RunOptions.h"
#include "driver/RunStats.h"
#include "driver/SiteInputs.h"
#include "gnsstime/GpsTime.h"
#include "logio/BinaryMessages.h"
#include "logio/ByteReader.h"
#include "logio/FrameReader.h"
#include "navstate/BeidouSubFrame.h"
#include "navstate/NavState.h"
#include "obsconv/Bin36Decoder.h"
#include "obsconv/Bin66Decoder.h"
#include "obsconv/Bin76Decoder.h"
#include "obsconv/Bin96Decoder.h"
#include "obsconv/ObsSlots.h"
#include "platform/FileIo.h"
#include "platform/InputWait.h"
#include "platform/StopSignals.h"
#include "platform/Trace.h"
#include "rinex/BeidouNavWriter.h"
#include "rinex/GlonassNavWriter.h"
#include "rinex/NavWriter.h"
#include "rinex/ObsWriter.h"

std::FILE* g_pObsFile = nullptr;
std::FILE* g_pGpsNavFile = nullptr;
std::FILE* g_pGlonassNavFile = nullptr;
std::FILE* g_pBeidouNavFile = nullptr;

namespace
{
// The input is read in blocks into this one buffer, reused for the whole run;
// frames are consumed in place.
constexpr uint32_t kReadBlockSize = 16384;
uint8_t s_aReadBlock[kReadBlockSize];

// On a long pass the files on disk are brought up to date this often, so
// that a crash loses little.
constexpr int64_t kSyncIntervalMs = 1000;

// Progress is shown whenever the message count rests on a multiple of this.
constexpr uint32_t kProgressStep = 100;

// A sentence is handled only when it fits this buffer with its terminator.
constexpr uint32_t kSentenceBufferSize = 200;

// Site frames of this class carry the marker events.
constexpr uint8_t kSiteClassMarker = 1;
constexpr uint32_t kSiteNameOffset = 6;
constexpr uint32_t kSiteNumberOffset = 26;
constexpr uint32_t kSiteTextLength = 20;

// The messages counted for the end-of-run line, in the order they are printed.
enum ECountedMessage
{
    eCount96, eCount76, eCount95, eCount93, eCount94, eCount65, eCount66, eCount34,
    eCount35, eCount36, eCount101, eCount102, eCount103, eCount104, eCount80, eCount62,
    eCountedMessages
};

const char* const kCountFormats[eCountedMessages] = {
    "BIN96:%lu ",  "BIN76:%lu ",  "BIN95:%lu ",  "BIN93:%lu ",  "BIN94:%lu ",  "BIN65:%lu ",
    "BIN66:%lu ",  "BIN34:%lu ",  "BIN35:%lu ",  "BIN36:%lu ",  "BIN101:%lu ", "BIN102:%lu ",
    "BIN103:%lu ", "BIN104:%lu ", "BIN80:%lu ",  "BIN62:%lu ",
};

struct SLoopState
{
    uint32_t m_uMessageCount;
    bool m_bBin96Seen; // shuts BIN76 out for the rest of the run
    bool m_bBin76Seen; // shuts BIN96 out for the rest of the run
    uint32_t m_auCount[eCountedMessages];
};

template <class Msg>
bool IsMessage(uint16_t number, uint32_t length)
{
    return number == Msg::kNumber && length == Msg::kFrameLength;
}

template <class Msg>
void StoreCopy(Msg& copy, const uint8_t* frame)
{
    std::memcpy(copy.m_aFrame, frame, Msg::kFrameLength);
}

// The seconds of an epoch message against the log time: exact comparison of
// the seconds of week alone, never of the week.
bool SameSecondsAsLogTime(double seconds)
{
    GpsTime now;
    GetLogTime(now);
    return seconds == now.m_dSeconds;
}

// Tells a "$BIN" frame by number and exact length and hands it on. Returns
// false for a frame that matches no row.
bool DispatchBinFrame(const uint8_t* frame, uint32_t length, SLoopState& loop)
{
    const uint16_t number = ReadU16(frame, kBinNumberOffset);
    SStoredMessages& stored = g_StoredMessages;

    if (IsMessage<SBinaryMsg96>(number, length) && !loop.m_bBin76Seen)
    {
        ++loop.m_auCount[eCount96];
        const double seconds = ReadDouble(frame, kBin96SecondsOffset);
        if (!SameSecondsAsLogTime(seconds))
        {
            SetLogTime(seconds, ReadU16(frame, kBin96WeekOffset));
            TraceMsg("SBinaryMsg96\n");
            OnBin96(frame);
        }
        loop.m_bBin96Seen = true;
        ++RunStats.m_uObsEpochsFound;
    }
    else if (IsMessage<SBinaryMsg76>(number, length) && !loop.m_bBin96Seen)
    {
        ++loop.m_auCount[eCount76];
        const double seconds = ReadDouble(frame, kBin76SecondsOffset);
        if (!SameSecondsAsLogTime(seconds))
        {
            SetLogTime(seconds, ReadU16(frame, kBin76WeekOffset));
            OnBin76(frame);
        }
        loop.m_bBin76Seen = true;
        ++RunStats.m_uObsEpochsFound;
    }
    else if (IsMessage<SBinaryMsg95>(number, length))
    {
        ++loop.m_auCount[eCount95];
        g_GpsNavState.OnBin95(frame);
        g_GpsNavWriter.WritePending(true);
        ++RunStats.m_uGpsEphFound;
    }
    else if (IsMessage<SBinaryMsg93>(number, length))
    {
        ++loop.m_auCount[eCount93];
        g_GpsNavState.OnBin93(frame);
        g_GpsNavWriter.WritePending(true);
        ++RunStats.m_uSbasEphFound;
    }
    else if (IsMessage<SBinaryMsg94>(number, length))
    {
        ++loop.m_auCount[eCount94];
        StoreCopy(stored.m_Bin94, frame);
        ++RunStats.m_uIonoUtcFound;
    }
    else if (IsMessage<SBinaryMsg65>(number, length))
    {
        ++loop.m_auCount[eCount65];
        g_GlonassNavState.OnBin65(frame);
        g_GlonassNavWriter.WritePending(true);
        ++RunStats.m_uGlonassEphFound;
    }
    else if (IsMessage<SBinaryMsg66>(number, length))
    {
        ++loop.m_auCount[eCount66];
        if (SameSecondsAsLogTime(ReadDouble(frame, kBin66SecondsOffset)))
        {
            OnBin66(frame);
        }
        ++RunStats.m_uGlonassObsFound;
    }
    else if (IsMessage<SBinaryMsg35>(number, length))
    {
        ++loop.m_auCount[eCount35];
        ProcessBin35(frame);
        g_BeidouNavWriter.WritePending(true);
        ++RunStats.m_uBeidouEphFound;
    }
    else if (IsMessage<SBinaryMsg36>(number, length))
    {
        ++loop.m_auCount[eCount36];
        if (SameSecondsAsLogTime(ReadDouble(frame, kBin36SecondsOffset)))
        {
            OnBin36(frame);
        }
        ++RunStats.m_uBeidouObsFound;
    }
    else if (IsMessage<SBinaryMsg34>(number, length))
    {
        ++loop.m_auCount[eCount34];
        StoreCopy(stored.m_Bin34, frame);
        g_BeidouNavWriter.WriteBdutLine();
    }
    else if (IsMessage<SBinaryMsg101>(number, length))
    {
        ++loop.m_auCount[eCount101];
        StoreCopy(stored.m_Bin101, frame);
    }
    else if (IsMessage<SBinaryMsg102>(number, length))
    {
        ++loop.m_auCount[eCount102];
        StoreCopy(stored.m_Bin102, frame);
    }
    else if (IsMessage<SBinaryMsg103>(number, length))
    {
        ++loop.m_auCount[eCount103];
        StoreCopy(stored.m_Bin103, frame);
    }
    else if (IsMessage<SBinaryMsg104>(number, length))
    {
        ++loop.m_auCount[eCount104];
        StoreCopy(stored.m_Bin104, frame);
    }
    else if (IsMessage<SBinaryMsg80>(number, length))
    {
        ++loop.m_auCount[eCount80];
        StoreCopy(stored.m_Bin80, frame);
    }
    else if (IsMessage<SBinaryMsg62>(number, length))
    {
        ++loop.m_auCount[eCount62];
        StoreCopy(stored.m_Bin62, frame);
    }
    else
    {
        TraceMsg("Unknown Binary Message\n");
        return false;
    }
    return true;
}

// Copies a text field of a site frame into a zeroed string. Only bytes inside
// the frame are read: a frame too short for its fields gives shorter texts.
void CopySiteText(const uint8_t* frame, uint32_t length, uint32_t offset, char (&text)[kSiteTextLength + 1])
{
    std::memset(text, 0, sizeof text);
    if (offset >= length)
        return;
    const uint32_t count = length - offset < kSiteTextLength ? length - offset : kSiteTextLength;
    std::memcpy(text, frame + offset, count);
}

void DispatchSiteFrame(const uint8_t* frame, uint32_t length)
{
    if (frame[2] != kSiteClassMarker)
        return;
    char name[kSiteTextLength + 1];
    char number[kSiteTextLength + 1];
    switch (frame[3])
    {
    case 1: // a new marker begins
        CopySiteText(frame, length, kSiteNameOffset, name);
        CopySiteText(frame, length, kSiteNumberOffset, number);
        BeginMarker(name, number);
        break;
    case 2: // the antenna starts moving
        BeginMoving();
        break;
    case 3: // the marker in progress is renamed
        CopySiteText(frame, length, kSiteNameOffset, name);
        CopySiteText(frame, length, kSiteNumberOffset, number);
        UpdateMarker(name, number);
        break;
    case 4: // the marker block is withdrawn
        RemoveMarkerBlock();
        break;
    default:
        break;
    }
}

void DispatchSentence(const uint8_t* frame, uint32_t length, SSiteNotes& notes)
{
    if (length + 1 >= kSentenceBufferSize)
        return;
    char line[kSentenceBufferSize];
    std::memcpy(line, frame, length);
    line[length] = '\0';
    HandleSentence(line, notes);
}

// The system's error number of a stream whose writing failed, 0 while it
// hasn't. `noted` is the writer's own note of a failed positioned write.
int StreamFailure(std::FILE* stream, int noted)
{
    if (noted != 0)
        return noted;
    if (!std::ferror(stream))
        return 0;
    // Asked once more, the system tells why: the data it refused is still
    // waiting in the stream.
    std::clearerr(stream);
    errno = 0;
    const int error = std::fflush(stream) != 0 ? errno : 0;
    return error != 0 ? error : EIO;
}

// Names an output's failure once; the caller gives its writer up.
bool CheckOutput(SPassOutputs& outputs, EOutputKind kind, int error)
{
    SPassOutput& output = outputs.m_aOutput[kind];
    if (error == 0 || output.m_iError != 0)
        return false;
    output.m_iError = error;
    ReportOutputFailure(OutputKindName(kind), output.m_szPath, error);
    return true;
}

// Looks at every output still written; a failed one is given up, so the
// conversion goes on for the others and finishes them.
void CheckOutputs(SPassOutputs& outputs)
{
    if (g_ObsWriter.m_pFile != nullptr &&
        CheckOutput(outputs, eOutputObservation, StreamFailure(g_ObsWriter.m_pFile, g_ObsWriter.m_iIoError)))
        g_ObsWriter.m_pFile = nullptr;
    const struct
    {
        EOutputKind m_eKind;
        CWriteRinexNav& m_Writer;
    } navs[] = {{eOutputGpsNav, g_GpsNavWriter},
                {eOutputGlonassNav, g_GlonassNavWriter},
                {eOutputBeidouNav, g_BeidouNavWriter}};
    for (const auto& nav : navs)
    {
        if (nav.m_Writer.m_pFile != nullptr &&
            CheckOutput(outputs, nav.m_eKind, StreamFailure(nav.m_Writer.m_pFile, 0)))
            nav.m_Writer.m_pFile = nullptr;
    }
}

// Brings every file on disk up to date: each holds complete lines and
// records, and the observation header names only epochs on disk.
void SyncOutputs(SPassOutputs& outputs)
{
    // A failure leaves the stream's error mark or the writer's note; the
    // check below reads both.
    g_ObsWriter.SyncToDisk();
    for (CWriteRinexNav* writer :
         {static_cast<CWriteRinexNav*>(&g_GpsNavWriter), static_cast<CWriteRinexNav*>(&g_GlonassNavWriter),
          static_cast<CWriteRinexNav*>(&g_BeidouNavWriter)})
    {
        if (writer->m_pFile != nullptr)
            std::fflush(writer->m_pFile);
    }
    CheckOutputs(outputs);
}

void PrintMessageCounts(const SLoopState& loop)
{
    for (uint32_t i = 0; i < eCountedMessages; ++i)
    {
        if (loop.m_auCount[i] != 0)
            std::fprintf(stderr, kCountFormats[i], static_cast<unsigned long>(loop.m_auCount[i]));
    }
    std::fputs("\n", stderr);
}
} // namespace

void PrepareRun()
{
    g_NavState.Init();
    InitObsSlots();
    g_ObsWriter.SetSite(g_pObsFile, RunOptions.m_dObsInterval, RunOptions.m_bObsIntervalGiven,
                        RunOptions.m_aLocationXyz);
    g_GpsNavWriter.SetFile(g_pGpsNavFile);
    ComputeGlonassWavelengths();
    g_GlonassNavWriter.SetFile(g_pGlonassNavFile);
    g_BeidouNavWriter.SetFile(g_pBeidouNavFile);
    RunStats = SRunStats{};
}

int ConvertLog(int inputFd, SPassOutputs& outputs, SSiteNotes& notes)
{
    const uint8_t enabled[kFrameKindCount] = {1, 1, 1, 1, 1};
    CBinFrameReader reader(s_aReadBlock, kReadBlockSize, enabled);

    SLoopState loop{};
    g_pObsFile = outputs.m_aOutput[eOutputObservation].m_pStream;
    g_pGpsNavFile = outputs.m_aOutput[eOutputGpsNav].m_pStream;
    g_pGlonassNavFile = outputs.m_aOutput[eOutputGlonassNav].m_pStream;
    g_pBeidouNavFile = outputs.m_aOutput[eOutputBeidouNav].m_pStream;

    PrepareRun();

    // A log that is a regular file never makes the pass wait.
    const bool mayWait = !IsRegularFile(inputFd);
    int64_t lastSync = MonotonicMilliseconds();
    while (!reader.m_bEndOfInput && StopSignalNumber() == 0)
    {
        const int64_t now = MonotonicMilliseconds();
        if ((mayWait && !InputReadyNow(inputFd)) || now - lastSync >= kSyncIntervalMs)
        {
            SyncOutputs(outputs);
            lastSync = now;
        }
        reader.Fill(inputFd);
        const uint8_t* frame = nullptr;
        uint32_t length = 0;
        uint32_t kind = 0;
        while (StopSignalNumber() == 0 && reader.NextFrame(&frame, &length, &kind))
        {
            switch (kind)
            {
            case eFrameBin:
                ++loop.m_uMessageCount;
                DispatchBinFrame(frame, length, loop);
                break;
            case eFrameSite:
                ++loop.m_uMessageCount;
                DispatchSiteFrame(frame, length);
                break;
            case eFrameSentence:
                DispatchSentence(frame, length, notes);
                break;
            default: // RTCM 3 and packed frames are consumed whole and not looked into
                break;
            }
            if (loop.m_uMessageCount % kProgressStep == 0)
                std::fprintf(stderr, "Message Count %lu\r", static_cast<unsigned long>(loop.m_uMessageCount));
        }
        CheckOutputs(outputs);
    }

    EndObservations();
    SyncOutputs(outputs);

    PrintMessageCounts(loop);
    std::FILE* summary = outputs.m_aOutput[eOutputSummary].m_pStream;
    if (summary != nullptr)
    {
        WriteRunSummary(summary);
        CheckOutput(outputs, eOutputSummary, StreamFailure(summary, std::fflush(summary) == 0 ? 0 : errno));
    }
    WriteRunSummary(stderr);
    return StopSignalNumber();
}
