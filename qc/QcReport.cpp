#include "qc/QcReport.h"

#include <cstdio>

#include "qc/QcSignals.h"

namespace
{
EQcLight HighIsGood(double value, double green, double amber)
{
    return value >= green ? eQcLightGreen : value >= amber ? eQcLightAmber : eQcLightRed;
}

EQcLight LowIsGood(double value, double green, double amber)
{
    return value <= green ? eQcLightGreen : value <= amber ? eQcLightAmber : eQcLightRed;
}
} // namespace

double SQcSignalRow::SlipRate() const
{
    if (m_Counts.m_uEpochs == 0)
        return 0.0;
    return 1000.0 * static_cast<double>(m_Counts.m_uSlips + m_Counts.m_uLossOfLock) /
           static_cast<double>(m_Counts.m_uEpochs);
}

EQcLight SQcSignalRow::CompletenessLight() const
{
    return m_bHaveCompleteness ? HighIsGood(m_dCompleteness, kQcCompletenessGreen, kQcCompletenessAmber)
                               : eQcLightNone;
}

EQcLight SQcSignalRow::MultipathLight() const
{
    return m_bHaveMultipath ? LowIsGood(m_dMultipathRms, kQcMultipathGreen, kQcMultipathAmber) : eQcLightNone;
}

EQcLight SQcSignalRow::SlipLight() const
{
    return m_Counts.m_uEpochs > 0 ? LowIsGood(SlipRate(), kQcSlipRateGreen, kQcSlipRateAmber) : eQcLightNone;
}

EQcLight SQcSignalRow::StrengthLight() const
{
    return m_Counts.m_uStrengthCount > 0 ? HighIsGood(m_dMeanStrength, kQcStrengthGreen, kQcStrengthAmber)
                                         : eQcLightNone;
}

const char* LightName(EQcLight light)
{
    switch (light)
    {
    case eQcLightGreen:
        return "green";
    case eQcLightAmber:
        return "amber";
    case eQcLightRed:
        return "red";
    default:
        return "";
    }
}

std::string FormatSummaryHeader()
{
    return "SUM first               last                 hours  dt(s)   expect     have      %   "
           "mp1   mp2  o/slps";
}

std::string FormatSummaryLine(const SQcReport& report)
{
    const SQcSummary& s = report.m_Summary;
    char percent[16] = "     -";
    if (s.m_bHaveCompleteness)
        std::snprintf(percent, sizeof percent, "%6.1f", s.m_dCompleteness);
    char mp1[16] = "    -";
    if (s.m_bHaveMp1)
        std::snprintf(mp1, sizeof mp1, "%5.2f", s.m_dMp1);
    char mp2[16] = "    -";
    if (s.m_bHaveMp2)
        std::snprintf(mp2, sizeof mp2, "%5.2f", s.m_dMp2);
    char perSlip[24] = "      -";
    if (s.m_uSlips > 0)
        std::snprintf(perSlip, sizeof perSlip, "%7llu", static_cast<unsigned long long>(s.m_uObservations / s.m_uSlips));
    char line[256];
    std::snprintf(line, sizeof line, "SUM %s %s %6.2f %6.3f %8llu %8llu %s %s %s %s", FormatQcTime(s.m_dFirst).c_str(),
                  FormatQcTime(s.m_dLast).c_str(), s.m_dHours, s.m_dInterval,
                  static_cast<unsigned long long>(s.m_uExpected), static_cast<unsigned long long>(s.m_uPresent), percent,
                  mp1, mp2, perSlip);
    return line;
}
