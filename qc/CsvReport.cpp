#include "qc/CsvReport.h"

#include <map>

#include "qc/QcSignals.h"
#include "qc/SvgPlot.h"

void WriteCsvReport(std::ostream& out, const SQcReport& report)
{
    out << "sat,signal,code,epochs,arcs,gaps,loss_of_lock,slips,slips_per_1000,strength_dbhz,mp_rms_m,mp_points,"
           "expected,present,completeness_pct,in_log";
    for (uint32_t reason = 0; reason < kQcDropReasonCount; ++reason)
        out << "," << DropReasonName(reason);
    out << ",light_completeness,light_multipath,light_slips,light_strength\n";

    std::map<uint64_t, const SQcDropRow*> drops;
    for (const SQcDropRow& d : report.m_aDrops)
        drops[static_cast<uint64_t>(d.m_uSystem) << 40 | static_cast<uint64_t>(d.m_uNumber) << 8 | d.m_uSignal] = &d;
    for (const SQcSignalRow& row : report.m_aRows)
    {
        const SQcSignalInfo& info = kQcSignals[row.m_uSignal];
        out << SatelliteName(row.m_uSystem, row.m_uNumber) << "," << info.m_szLabel << "," << info.m_szCode << ","
            << row.m_Counts.m_uEpochs << "," << row.m_Counts.m_uArcs << "," << row.m_Counts.m_uGaps << ","
            << row.m_Counts.m_uLossOfLock << "," << row.m_Counts.m_uSlips << "," << FormatNumber(row.SlipRate(), 2)
            << "," << (row.m_Counts.m_uStrengthCount > 0 ? FormatNumber(row.m_dMeanStrength, 2) : "") << ","
            << (row.m_bHaveMultipath ? FormatNumber(row.m_dMultipathRms, 3) : "") << "," << row.m_uMultipathPoints
            << "," << row.m_Counts.m_uExpected << "," << row.m_Counts.m_uPresent << ","
            << (row.m_bHaveCompleteness ? FormatNumber(row.m_dCompleteness, 1) : "");
        const auto found = drops.find(static_cast<uint64_t>(row.m_uSystem) << 40 |
                                      static_cast<uint64_t>(row.m_uNumber) << 8 | row.m_uSignal);
        const SQcDropRow empty;
        const SQcDropRow& d = found != drops.end() ? *found->second : empty;
        out << "," << d.m_uInLog;
        for (uint32_t reason = 0; reason < kQcDropReasonCount; ++reason)
            out << "," << d.m_auCount[reason];
        out << "," << LightName(row.CompletenessLight()) << "," << LightName(row.MultipathLight()) << ","
            << LightName(row.SlipLight()) << "," << LightName(row.StrengthLight()) << "\n";
    }
}
