#include "driver/ConvertLog.h"

#include <cerrno>
#include <cstdint>
#include <cstring>

#include "logio/BinaryMessages.h"
#include "logio/ByteReader.h"
#include "logio/FrameReader.h"
#include "obsconv/Bin36Decoder.h"
#include "obsconv/Bin66Decoder.h"
#include "obsconv/Bin76Decoder.h"
#include "obsconv/Bin96Decoder.h"
#include "platform/InputWait.h"
#include "platform/StopSignals.h"

namespace
{
// On a long pass the files on disk are brought up to date this often, so
// that a crash loses little.
constexpr int64_t kSyncIntervalMs = 1000;

// Progress is shown whenever the message count rests on a multiple of this.
constexpr uint32_t kProgressStep = 100;

// Site frames of this class carry the marker events.
constexpr uint8_t kSiteClassMarker = 1;
constexpr uint32_t kSiteNameOffset = 6;
constexpr uint32_t kSiteNumberOffset = 26;
constexpr uint32_t kSiteTextLength = 20;

const char* const kCountFormats[] = {
    "BIN96:%lu ",  "BIN76:%lu ",  "BIN95:%lu ",  "BIN93:%lu ",  "BIN94:%lu ",  "BIN65:%lu ",
    "BIN66:%lu ",  "BIN34:%lu ",  "BIN35:%lu ",  "BIN36:%lu ",  "BIN101:%lu ", "BIN102:%lu ",
    "BIN103:%lu ", "BIN104:%lu ", "BIN80:%lu ",  "BIN62:%lu ",
};

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
} // namespace

CConversion::CConversion()
    : m_Navigation(m_LogTime),
      m_Assembly(m_LogTime, m_Navigation.m_Gps, m_Navigation.m_Beidou),
      m_ObsWriter(m_ExternalHeader, m_Navigation.m_GlonassFrequencies),
      m_GpsNavWriter(m_Navigation.m_Gps, m_Navigation.m_Utc),
      m_GlonassNavWriter(m_Navigation.m_Glonass, m_Navigation.m_Utc, m_Navigation.m_GlonassFrequencies),
      m_BeidouNavWriter(m_Navigation.m_Beidou, m_Navigation.m_Utc),
      m_Intake(SObsIntake::Of(m_Slots, m_Assembly, m_Navigation, m_Mask)),
      m_Decoding(m_LogTime, m_Navigation, m_Intake, *this)
{
}

void CConversion::PrepareRun(SPassOutputs& outputs)
{
    const SRunOptions& o = m_Options;
    m_Navigation.m_Receiver.Init(o.m_bHaveLocation, o.m_aLocationLlh);
    m_Mask = SMaskRule{o.m_bElevationMask, o.m_dElevationMask, o.m_bHaveLocation, o.m_bOutputBeforeEphemeris};
    m_Assembly.SetRun(o.m_dObsInterval, o.m_bObsIntervalGiven, o.m_bOutputL1P, this);
    m_ObsWriter.SetSite(outputs.m_aOutput[eOutputObservation].m_pStream, o.m_aLocationXyz);
    m_GpsNavWriter.SetFile(outputs.m_aOutput[eOutputGpsNav].m_pStream);
    m_GlonassNavWriter.SetFile(outputs.m_aOutput[eOutputGlonassNav].m_pStream);
    m_BeidouNavWriter.SetFile(outputs.m_aOutput[eOutputBeidouNav].m_pStream);
    m_Stats = SRunStats{};
}

void CConversion::TakeEpoch(const SObsEpoch& epoch)
{
    m_ObsWriter.WriteEpoch(epoch);
    if (epoch.m_uListCount > 0)
    {
        ++m_Stats.m_uEpochsWritten;
        m_Stats.m_uObsWritten += epoch.m_uListCount;
    }
    if (m_Stats.m_timeFirstEpoch.m_uWeek == 0)
        m_Stats.m_timeFirstEpoch = epoch.m_timeEpoch;
}

// A navigation message's records go to its file once the navigation state
// has passed them.
void CConversion::OnNavigationPass(ESystem system)
{
    switch (system)
    {
    case eSystemGps:
        m_GpsNavWriter.WritePending();
        break;
    case eSystemGlonass:
        m_GlonassNavWriter.WritePending();
        break;
    case eSystemBeidou:
        m_BeidouNavWriter.WritePending();
        break;
    default:
        break;
    }
}

void CConversion::OnBin34Stored()
{
    m_BeidouNavWriter.WriteBdutLine();
}

void CConversion::DispatchSiteFrame(const uint8_t* frame, uint32_t length)
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
        m_ObsWriter.BeginMarker(name, number);
        break;
    case 2: // the antenna starts moving
        m_ObsWriter.BeginMoving();
        break;
    case 3: // the marker in progress is renamed
        CopySiteText(frame, length, kSiteNameOffset, name);
        CopySiteText(frame, length, kSiteNumberOffset, number);
        m_ObsWriter.UpdateMarker(name, number);
        break;
    case 4: // the marker block is withdrawn
        m_ObsWriter.RemoveMarkerBlock();
        break;
    default:
        break;
    }
}

void CConversion::DispatchSentence(const uint8_t* frame, uint32_t length)
{
    SSentenceText text;
    if (SentenceText(frame, length, text))
        HandleSentence(text.m_szText, m_ObsWriter, m_SiteNotes);
}

// Looks at every output still written; a failed one is given up, so the
// conversion goes on for the others and finishes them.
void CConversion::CheckOutputs(SPassOutputs& outputs)
{
    if (m_ObsWriter.m_pFile != nullptr &&
        CheckOutput(outputs, eOutputObservation, StreamFailure(m_ObsWriter.m_pFile, m_ObsWriter.m_iIoError)))
        m_ObsWriter.m_pFile = nullptr;
    const struct
    {
        EOutputKind m_eKind;
        CWriteRinexNav& m_Writer;
    } navs[] = {{eOutputGpsNav, m_GpsNavWriter},
                {eOutputGlonassNav, m_GlonassNavWriter},
                {eOutputBeidouNav, m_BeidouNavWriter}};
    for (const auto& nav : navs)
    {
        if (nav.m_Writer.m_pFile != nullptr &&
            CheckOutput(outputs, nav.m_eKind, StreamFailure(nav.m_Writer.m_pFile, 0)))
            nav.m_Writer.m_pFile = nullptr;
    }
}

// Brings every file on disk up to date: each holds complete lines and
// records, and the observation header names only epochs on disk.
void CConversion::SyncOutputs(SPassOutputs& outputs)
{
    // A failure leaves the stream's error mark or the writer's note; the
    // check below reads both.
    m_ObsWriter.SyncToDisk();
    for (const CWriteRinexNav* writer : {static_cast<const CWriteRinexNav*>(&m_GpsNavWriter),
                                         static_cast<const CWriteRinexNav*>(&m_GlonassNavWriter),
                                         static_cast<const CWriteRinexNav*>(&m_BeidouNavWriter)})
    {
        if (writer->m_pFile != nullptr)
            std::fflush(writer->m_pFile);
    }
    CheckOutputs(outputs);
}

void CConversion::PrintMessageCounts() const
{
    for (uint32_t i = 0; i < eCountedMessages; ++i)
    {
        const uint32_t count = m_Decoding.Count(static_cast<ECountedMessage>(i));
        if (count != 0)
            std::fprintf(stderr, kCountFormats[i], static_cast<unsigned long>(count));
    }
    std::fputs("\n", stderr);
}

int CConversion::ConvertLog(int inputFd, SPassOutputs& outputs)
{
    const uint8_t enabled[kFrameKindCount] = {1, 1, 1, 1, 1};
    CBinFrameReader reader(m_aReadBlock, kReadBlockSize, enabled);
    PrepareRun(outputs);

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
                ++m_uMessageCount;
                m_Decoding.DecodeBinFrame(frame, length);
                break;
            case eFrameSite:
                ++m_uMessageCount;
                DispatchSiteFrame(frame, length);
                break;
            case eFrameSentence:
                DispatchSentence(frame, length);
                break;
            default: // RTCM 3 and packed frames are consumed whole and not looked into
                break;
            }
            if (m_uMessageCount % kProgressStep == 0)
                std::fprintf(stderr, "Message Count %lu\r", static_cast<unsigned long>(m_uMessageCount));
        }
        CheckOutputs(outputs);
    }

    m_Assembly.EndObservations();
    SyncOutputs(outputs);

    const CLogDecoding& d = m_Decoding;
    m_Stats.m_uObsEpochsFound = d.Count(eCount96) + d.Count(eCount76);
    m_Stats.m_uGpsEphFound = d.Count(eCount95);
    m_Stats.m_uIonoUtcFound = d.Count(eCount94);
    m_Stats.m_uGlonassObsFound = d.Count(eCount66);
    m_Stats.m_uGlonassEphFound = d.Count(eCount65);
    m_Stats.m_uBeidouObsFound = d.Count(eCount36);
    m_Stats.m_uBeidouEphFound = d.Count(eCount35);
    m_Stats.m_uNavSatsWritten =
        m_GpsNavWriter.m_uSatsWritten + m_GlonassNavWriter.m_uSatsWritten + m_BeidouNavWriter.m_uSatsWritten;
    m_Stats.m_uNavWrites =
        m_GpsNavWriter.m_uRecordsWritten + m_GlonassNavWriter.m_uRecordsWritten + m_BeidouNavWriter.m_uRecordsWritten;
    PrintMessageCounts();
    std::FILE* summary = outputs.m_aOutput[eOutputSummary].m_pStream;
    if (summary != nullptr)
    {
        WriteRunSummary(summary, m_Stats);
        CheckOutput(outputs, eOutputSummary, StreamFailure(summary, std::fflush(summary) == 0 ? 0 : errno));
    }
    WriteRunSummary(stderr, m_Stats);
    return StopSignalNumber();
}
