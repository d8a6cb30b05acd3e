#include "obsconv/LogDecoding.h"

#include "logio/BinaryMessages.h"
#include "logio/ByteReader.h"
#include "obsconv/Bin36Decoder.h"
#include "obsconv/Bin66Decoder.h"
#include "obsconv/Bin76Decoder.h"
#include "obsconv/Bin96Decoder.h"

namespace
{
template <class Msg>
bool IsMessage(uint16_t number, uint32_t length)
{
    return number == Msg::kNumber && length == Msg::kFrameLength;
}
} // namespace

// A new epoch's message sets the log time and is decoded; one that repeats
// the seconds in hand is not.
void CLogDecoding::OnEpochMessage(const uint8_t* frame, uint16_t number, double seconds, uint32_t week,
                                  void (*decode)(const uint8_t*, SObsIntake&))
{
    if (SameSecondsAsLogTime(seconds))
    {
        m_Listener.OnMessageLeftOut(frame, number, eLeftOutRepeatedEpoch);
        return;
    }
    m_LogTime.SetLogTime(seconds, week);
    decode(frame, m_Intake);
}

bool CLogDecoding::DecodeBinFrame(const uint8_t* frame, uint32_t length)
{
    const uint16_t number = ReadU16(frame, kBinNumberOffset);

    if (IsMessage<SBinaryMsg96>(number, length))
    {
        if (m_bBin76Seen)
        {
            m_Listener.OnMessageLeftOut(frame, number, eLeftOutOtherGpsMessage);
            return true;
        }
        ++m_auCount[eCount96];
        OnEpochMessage(frame, number, ReadDouble(frame, kBin96SecondsOffset), ReadU16(frame, kBin96WeekOffset), OnBin96);
        m_bBin96Seen = true;
    }
    else if (IsMessage<SBinaryMsg76>(number, length))
    {
        if (m_bBin96Seen)
        {
            m_Listener.OnMessageLeftOut(frame, number, eLeftOutOtherGpsMessage);
            return true;
        }
        ++m_auCount[eCount76];
        OnEpochMessage(frame, number, ReadDouble(frame, kBin76SecondsOffset), ReadU16(frame, kBin76WeekOffset), OnBin76);
        m_bBin76Seen = true;
    }
    else if (IsMessage<SBinaryMsg95>(number, length))
    {
        ++m_auCount[eCount95];
        m_Navigation.m_Gps.OnBin95(frame);
        m_Navigation.PassGpsRecords();
        m_Listener.OnNavigationPass(eSystemGps);
    }
    else if (IsMessage<SBinaryMsg93>(number, length))
    {
        ++m_auCount[eCount93];
        m_Navigation.m_Gps.OnBin93(frame);
        m_Navigation.PassGpsRecords();
        m_Listener.OnNavigationPass(eSystemGps);
    }
    else if (IsMessage<SBinaryMsg94>(number, length))
    {
        ++m_auCount[eCount94];
        m_Navigation.m_Utc.StoreBin94(frame);
    }
    else if (IsMessage<SBinaryMsg65>(number, length))
    {
        ++m_auCount[eCount65];
        m_Navigation.m_Glonass.OnBin65(frame);
        m_Navigation.PassGlonassRecords();
        m_Listener.OnNavigationPass(eSystemGlonass);
    }
    else if (IsMessage<SBinaryMsg66>(number, length))
    {
        ++m_auCount[eCount66];
        if (SameSecondsAsLogTime(ReadDouble(frame, kBin66SecondsOffset)))
            OnBin66(frame, m_Intake);
        else
            m_Listener.OnMessageLeftOut(frame, number, eLeftOutOtherTime);
    }
    else if (IsMessage<SBinaryMsg35>(number, length))
    {
        ++m_auCount[eCount35];
        m_Navigation.m_BeidouDecoders.ProcessBin35(frame);
        m_Navigation.PassBeidouRecords();
        m_Listener.OnNavigationPass(eSystemBeidou);
    }
    else if (IsMessage<SBinaryMsg36>(number, length))
    {
        ++m_auCount[eCount36];
        if (SameSecondsAsLogTime(ReadDouble(frame, kBin36SecondsOffset)))
            OnBin36(frame, m_Intake);
        else
            m_Listener.OnMessageLeftOut(frame, number, eLeftOutOtherTime);
    }
    else if (IsMessage<SBinaryMsg34>(number, length))
    {
        ++m_auCount[eCount34];
        m_Navigation.m_Utc.StoreBin34(frame);
        m_Listener.OnBin34Stored();
    }
    // The messages only counted: the conversion takes nothing from them.
    else if (IsMessage<SBinaryMsg101>(number, length))
        ++m_auCount[eCount101];
    else if (IsMessage<SBinaryMsg102>(number, length))
        ++m_auCount[eCount102];
    else if (IsMessage<SBinaryMsg103>(number, length))
        ++m_auCount[eCount103];
    else if (IsMessage<SBinaryMsg104>(number, length))
        ++m_auCount[eCount104];
    else if (IsMessage<SBinaryMsg80>(number, length))
        ++m_auCount[eCount80];
    else if (IsMessage<SBinaryMsg62>(number, length))
        ++m_auCount[eCount62];
    else
        return false;
    return true;
}
