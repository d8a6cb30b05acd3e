#include "qc/LogPass.h"

#include <cstdlib>
#include <cstring>

#include "logio/BinaryMessages.h"
#include "logio/ByteReader.h"
#include "logio/FrameReader.h"
#include "logio/Sentences.h"

namespace
{
// Progress is told about every this many bytes.
constexpr uint64_t kProgressBytes = 1u << 22;
constexpr uint32_t kGgaFixQuality = 6;
} // namespace

CQcLogPass::CQcLogPass(const SQcOptions& report, const SQcConversionSettings& settings)
    : m_Navigation(m_LogTime),
      m_Assembly(m_LogTime, m_Navigation.m_Gps, m_Navigation.m_Beidou),
      m_Intake(SObsIntake::Of(m_Slots, m_Assembly, m_Navigation, m_Mask)),
      m_Geometry(m_Navigation),
      m_Analysis(report, &m_Geometry),
      m_Feed(m_LogTime, m_Navigation, m_Analysis),
      m_Decoding(m_LogTime, m_Navigation, m_Intake, m_Feed)
{
    const SQcConversionSettings& s = settings;
    m_Navigation.m_Receiver.Init(s.m_bHaveLocation, s.m_adLocationLlh);
    m_Mask = SMaskRule{s.m_bElevationMask, s.m_dElevationMask, s.m_bHaveLocation, s.m_bBeforeEphemeris};
    m_Assembly.SetRun(s.m_dInterval, s.m_bIntervalGiven, s.m_bOutputL1P, nullptr);
    m_Assembly.SetListener(&m_Feed);
}

void CQcLogPass::NoteSentence(const uint8_t* frame, uint32_t length)
{
    SSentenceText text;
    if (!SentenceText(frame, length, text))
        return;
    char* line = text.m_szText;
    const char* fields[kSentenceFields];
    const uint32_t count = SplitFields(line, fields, kSentenceFields);
    double llh[3];
    if (std::strcmp(fields[0], "$GPGGA") != 0 || !PositionOfGga(fields, count, llh))
        return;
    SQcPositionSentence sentence;
    sentence.m_timeFix = m_LogTime.Now();
    sentence.m_dLatitude = llh[0];
    sentence.m_dLongitude = llh[1];
    sentence.m_dHeight = llh[2];
    sentence.m_uQuality = static_cast<uint32_t>(std::strtol(fields[kGgaFixQuality], nullptr, 10));
    m_Analysis.NotePositionSentence(sentence);
}

bool CQcLogPass::Run(int fd, const std::function<void(uint64_t)>& progress)
{
    if (!m_Navigation.m_BeidouDecoders.AllocateBeidouEphTable())
        return false;
    const uint8_t enabled[kFrameKindCount] = {1, 1, 1, 1, 1};
    CBinFrameReader reader(m_aReadBlock, kReadBlockSize, enabled);
    uint64_t bytesRead = 0;
    uint64_t toldAt = 0;
    while (!reader.m_bEndOfInput)
    {
        bytesRead += reader.Fill(fd);
        const uint8_t* frame = nullptr;
        uint32_t length = 0;
        uint32_t kind = 0;
        while (reader.NextFrame(&frame, &length, &kind))
        {
            // Where the frame stands in the log: the bytes read less those
            // behind it in the buffer.
            const uint64_t offset = bytesRead - (reader.m_uWritePos - static_cast<uint32_t>(frame - reader.m_pBuffer));
            if (reader.m_uLastSkipped != 0)
                m_Analysis.NoteDamage(offset - reader.m_uLastSkipped, reader.m_uLastSkipped);
            SQcFrame noted;
            noted.m_uKind = kind;
            noted.m_uOffset = offset;
            noted.m_uLength = length;
            switch (kind)
            {
            case eFrameBin:
                noted.m_uNumber = ReadU16(frame, kBinNumberOffset);
                noted.m_bKnown = m_Decoding.DecodeBinFrame(frame, length);
                break;
            case eFrameSentence:
                NoteSentence(frame, length);
                break;
            default:
                break;
            }
            m_Analysis.NoteFrame(noted);
        }
        if (progress && bytesRead - toldAt >= kProgressBytes)
        {
            toldAt = bytesRead;
            progress(bytesRead);
        }
    }
    if (reader.m_uSkipped != 0)
        m_Analysis.NoteDamage(bytesRead - reader.m_uSkipped, reader.m_uSkipped);
    m_Assembly.EndObservations();
    m_Feed.Finish();
    if (progress)
        progress(bytesRead);
    return true;
}
