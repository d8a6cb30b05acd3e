#include "qc/JsonReport.h"

#include <cmath>
#include <cstdio>
#include <string>

#include "logio/FrameKinds.h"
#include "qc/QcSignals.h"
#include "qc/SvgPlot.h"

namespace
{
std::string Str(const std::string& text)
{
    std::string out = "\"";
    for (char c : text)
    {
        if (c == '"' || c == '\\')
        {
            out += '\\';
            out += c;
        }
        else if (static_cast<unsigned char>(c) < 0x20)
        {
            char code[8];
            std::snprintf(code, sizeof code, "\\u%04x", static_cast<unsigned>(c));
            out += code;
        }
        else
            out += c;
    }
    return out + "\"";
}

std::string Num(double value, int decimals = 6)
{
    if (!std::isfinite(value))
        return "null";
    return FormatNumber(value, decimals);
}

std::string Bool(bool value)
{
    return value ? "true" : "false";
}

std::string Time(double seconds)
{
    return "{\"gps\":" + Str(FormatQcTime(seconds)) + ",\"seconds\":" + Num(seconds, 3) + "}";
}

// Writes the elements of `list` through `item`, comma-separated, in brackets.
template <typename TList, typename TItem>
void Array(std::ostream& out, const TList& list, TItem item)
{
    out << "[";
    bool first = true;
    for (const auto& element : list)
    {
        out << (first ? "" : ",");
        first = false;
        item(element);
    }
    out << "]";
}

std::string FrameKindName(uint32_t kind)
{
    static const char* const kNames[kFrameKindCount] = {"packed", "rtcm3", "bin", "site", "sentence"};
    return kind < kFrameKindCount ? kNames[kind] : "unknown";
}
} // namespace

void WriteJsonReport(std::ostream& out, const SQcReport& r)
{
    const SQcOptions& o = r.m_Options;
    out << "{\n\"log\":" << Str(o.m_szLogName) << ",\n\"options\":{\"elevation_mask\":"
        << (o.m_bElevationMask ? Num(o.m_dElevationMask) : "null") << ",\"location\":"
        << (o.m_bHaveLocation ? "[" + Num(o.m_adLocation[0], 9) + "," + Num(o.m_adLocation[1], 9) + "," +
                                    Num(o.m_adLocation[2], 3) + "]"
                              : "null")
        << ",\"interval\":" << (o.m_bIntervalGiven ? Num(o.m_dInterval) : "null")
        << ",\"before_ephemeris\":" << Bool(o.m_bBeforeEphemeris) << "},\n";

    const SQcSummary& s = r.m_Summary;
    out << "\"summary\":{\"line\":" << Str(FormatSummaryLine(r)) << ",\"first\":" << Time(s.m_dFirst)
        << ",\"last\":" << Time(s.m_dLast) << ",\"hours\":" << Num(s.m_dHours, 4) << ",\"interval\":" << Num(s.m_dInterval, 3)
        << ",\"expected\":" << s.m_uExpected << ",\"present\":" << s.m_uPresent << ",\"completeness_pct\":"
        << (s.m_bHaveCompleteness ? Num(s.m_dCompleteness, 3) : "null") << ",\"mask_deg\":" << Num(s.m_dMask, 2)
        << ",\"mp1_m\":" << (s.m_bHaveMp1 ? Num(s.m_dMp1, 4) : "null")
        << ",\"mp2_m\":" << (s.m_bHaveMp2 ? Num(s.m_dMp2, 4) : "null") << ",\"observations\":" << s.m_uObservations
        << ",\"slips\":" << s.m_uSlips << ",\"observations_per_slip\":"
        << (s.m_uSlips > 0 ? std::to_string(s.m_uObservations / s.m_uSlips) : "null") << "},\n";

    out << "\"inventory\":{\"frames\":";
    Array(out, r.m_aFrames, [&](const SQcFrameCount& f) {
        out << "{\"kind\":" << Str(FrameKindName(f.m_uKind)) << ",\"number\":" << f.m_uNumber
            << ",\"known\":" << Bool(f.m_bKnown) << ",\"count\":" << f.m_uCount << ",\"bytes\":" << f.m_uBytes
            << ",\"first_offset\":" << f.m_uFirstOffset << "}";
    });
    out << ",\n\"unknown_frames\":" << r.m_uUnknownFrames << ",\"frame_bytes\":" << r.m_uFrameBytes
        << ",\"log_bytes\":" << r.m_uLogBytes << ",\"damaged_bytes\":" << r.m_uDamagedBytes
        << ",\"damaged_spans\":" << r.m_uDamagedSpans << ",\"first_damage\":";
    Array(out, r.m_aFirstDamage,
          [&](const SQcSpan& d) { out << "{\"offset\":" << d.m_uOffset << ",\"length\":" << d.m_uLength << "}"; });
    out << ",\n\"epochs\":" << r.m_uEpochs << ",\"intervals\":";
    Array(out, r.m_aIntervals, [&](const std::pair<double, uint64_t>& bin) {
        out << "{\"seconds\":" << Num(bin.first, 2) << ",\"count\":" << bin.second << "}";
    });
    out << ",\"other_intervals\":" << r.m_uOtherIntervals << ",\"backward_steps\":" << r.m_uBackwardSteps
        << ",\"forward_jumps\":" << r.m_uForwardJumps << ",\"first_backward\":";
    auto step = [&](const SQcTimeStep& t) { out << "{\"epoch\":" << Time(t.m_dSeconds) << ",\"step\":" << Num(t.m_dStep, 3) << "}"; };
    Array(out, r.m_aFirstBackward, step);
    out << ",\"first_forward\":";
    Array(out, r.m_aFirstForward, step);
    out << ",\n\"navigation\":";
    Array(out, r.m_aNavigation, [&](const SQcNavCoverage& n) {
        out << "\n {\"sat\":" << Str(SatelliteName(n.m_uSystem, n.m_uNumber)) << ",\"first_arrival\":"
            << (n.m_uArrivals > 0 ? Time(n.m_dFirstArrival) : "null") << ",\"arrivals\":" << n.m_uArrivals
            << ",\"issues\":" << n.m_uIssues << ",\"max_arrival_gap_s\":" << Num(n.m_dMaxArrivalGap, 0)
            << ",\"max_age_s\":" << Num(n.m_dMaxAge, 0) << ",\"epochs_without\":" << n.m_uEpochsWithout
            << ",\"epochs_stale\":" << n.m_uEpochsStale << "}";
    });
    out << "},\n";

    // The totals are no satellite's and no signal's: their two names are null.
    auto dropRow = [&](const SQcDropRow& d, bool totals) {
        out << "\n {\"sat\":" << (totals ? "null" : Str(SatelliteName(d.m_uSystem, d.m_uNumber))) << ",\"signal\":"
            << (totals                        ? "null"
                : d.m_uSignal < kQcSignalCount ? Str(kQcSignals[d.m_uSignal].m_szLabel)
                                               : Str("?"))
            << ",\"in_log\":" << d.m_uInLog;
        for (uint32_t reason = 0; reason < kQcDropReasonCount; ++reason)
            out << "," << Str(DropReasonName(reason)) << ":" << d.m_auCount[reason];
        out << ",\"file_count\":" << (d.m_bHaveFileCount ? std::to_string(d.m_uFileCount) : "null") << "}";
    };
    out << "\"drops\":{\"rows\":";
    Array(out, r.m_aDrops, [&](const SQcDropRow& d) { dropRow(d, false); });
    out << ",\n\"totals\":";
    dropRow(r.m_DropTotals, true);
    out << ",\"add_up\":" << Bool(r.m_bDropsAddUp) << ",\"rows_checked\":" << r.m_uDropRowsChecked << "},\n";

    out << "\"signals\":";
    Array(out, r.m_aRows, [&](const SQcSignalRow& row) {
        const SQcSeriesCounts& c = row.m_Counts;
        out << "\n {\"sat\":" << Str(SatelliteName(row.m_uSystem, row.m_uNumber)) << ",\"signal\":"
            << Str(kQcSignals[row.m_uSignal].m_szLabel) << ",\"code\":" << Str(kQcSignals[row.m_uSignal].m_szCode)
            << ",\"epochs\":" << c.m_uEpochs << ",\"arcs\":" << c.m_uArcs << ",\"gaps\":" << c.m_uGaps
            << ",\"loss_of_lock\":" << c.m_uLossOfLock << ",\"slips\":" << c.m_uSlips << ",\"first\":" << Time(c.m_dFirst)
            << ",\"last\":" << Time(c.m_dLast) << ",\"strength_dbhz\":"
            << (c.m_uStrengthCount > 0 ? Num(row.m_dMeanStrength, 2) : "null") << ",\"strength_by_elevation\":[";
        for (uint32_t b = 0; b < kQcElevationBins; ++b)
            out << (b ? "," : "") << (c.m_auBinStrengthCount[b] > 0 ? Num(row.m_adBinStrength[b], 2) : "null");
        out << "],\"mp_rms_m\":" << (row.m_bHaveMultipath ? Num(row.m_dMultipathRms, 4) : "null")
            << ",\"mp_partner\":" << (row.m_bHaveMultipath ? Str(kQcSignals[row.m_uMultipathPartner].m_szPhase) : "null")
            << ",\"mp_points\":" << row.m_uMultipathPoints << ",\"mp_arcs\":" << row.m_uMultipathArcs
            << ",\"mp_by_elevation\":[";
        for (uint32_t b = 0; b < kQcElevationBins; ++b)
            out << (b ? "," : "") << (row.m_auBinMultipathPoints[b] > 0 ? Num(row.m_adBinMultipath[b], 4) : "null");
        out << "],\"expected\":" << c.m_uExpected << ",\"present\":" << c.m_uPresent << ",\"completeness_pct\":"
            << (row.m_bHaveCompleteness ? Num(row.m_dCompleteness, 2) : "null") << ",\"lights\":{\"completeness\":"
            << Str(LightName(row.CompletenessLight())) << ",\"multipath\":" << Str(LightName(row.MultipathLight()))
            << ",\"slips\":" << Str(LightName(row.SlipLight())) << ",\"strength\":" << Str(LightName(row.StrengthLight()))
            << "}}";
    });
    out << ",\n\"slip_events\":" << r.m_uSlipEvents << ",\"first_slips\":";
    Array(out, r.m_aFirstSlips, [&](const SQcSlipEvent& e) {
        out << "\n {\"epoch\":" << Time(e.m_dSeconds) << ",\"sat\":" << Str(SatelliteName(e.m_uSystem, e.m_uNumber))
            << ",\"signals\":[";
        bool first = true;
        for (uint32_t sig = 0; sig < kQcSignalCount; ++sig)
            if ((e.m_uSignals >> sig & 1) != 0)
            {
                out << (first ? "" : ",") << Str(kQcSignals[sig].m_szLabel);
                first = false;
            }
        out << "],\"gf\":" << Bool((e.m_uTests & 1) != 0) << ",\"mw\":" << Bool((e.m_uTests & 2) != 0)
            << ",\"cmc\":" << Bool((e.m_uTests & 4) != 0) << "}";
    });
    out << ",\n\"clock_jumps\":" << r.m_uClockJumps << ",\"first_clock_jumps\":";
    Array(out, r.m_aFirstClockJumps, [&](const SQcClockJump& j) {
        out << "{\"epoch\":" << Time(j.m_dSeconds) << ",\"milliseconds\":" << j.m_iMilliseconds
            << ",\"satellites\":" << j.m_uSatellites << ",\"compared\":" << j.m_uCompared
            << ",\"median_m\":" << Num(j.m_dMedianMetres, 2) << "}";
    });

    const SQcPosition& p = r.m_Position;
    static const char* const kSource[] = {"none", "given", "sentence"};
    out << ",\n\"position\":{\"source\":" << Str(kSource[p.m_uSource < 3 ? p.m_uSource : 0]) << ",\"site_llh\":"
        << (p.m_uSource != eQcPositionNone ? "[" + Num(p.m_adSiteLlh[0], 9) + "," + Num(p.m_adSiteLlh[1], 9) + "," +
                                                 Num(p.m_adSiteLlh[2], 3) + "]"
                                           : "null")
        << ",\"fixes\":" << p.m_uFixes << ",\"tried\":" << p.m_uTried << ",\"fix_step_s\":" << Num(p.m_dFixStep, 1)
        << ",\"median_xyz\":"
        << (p.m_bHaveFixes ? "[" + Num(p.m_adMedianXyz[0], 3) + "," + Num(p.m_adMedianXyz[1], 3) + "," +
                                 Num(p.m_adMedianXyz[2], 3) + "]"
                           : "null")
        << ",\"median_llh\":"
        << (p.m_bHaveFixes ? "[" + Num(p.m_adMedianLlh[0], 9) + "," + Num(p.m_adMedianLlh[1], 9) + "," +
                                 Num(p.m_adMedianLlh[2], 3) + "]"
                           : "null")
        << ",\"spread_neu_m\":"
        << (p.m_bHaveFixes ? "[" + Num(p.m_adSpreadNeu[0], 3) + "," + Num(p.m_adSpreadNeu[1], 3) + "," +
                                 Num(p.m_adSpreadNeu[2], 3) + "]"
                           : "null")
        << ",\"distance_m\":" << (p.m_bHaveDistance ? Num(p.m_dDistance, 3) : "null") << ",\"offset_neu_m\":"
        << (p.m_bHaveDistance ? "[" + Num(p.m_adOffsetNeu[0], 3) + "," + Num(p.m_adOffsetNeu[1], 3) + "," +
                                    Num(p.m_adOffsetNeu[2], 3) + "]"
                              : "null")
        << "},\n";

    out << "\"plots\":{\"axis\":{\"start\":" << Time(r.m_dAxisStart) << ",\"bucket_s\":" << Num(r.m_dAxisWidth, 1)
        << ",\"buckets\":" << r.m_uAxisBuckets << "},\"epochs_per_bucket\":";
    Array(out, r.m_auEpochsPerBucket, [&](uint32_t n) { out << n; });
    out << ",\n\"satellite_counts\":";
    Array(out, r.m_aSatelliteCounts, [&](const SQcCountPoint& c) {
        out << "{\"seconds\":" << Num(c.m_dSeconds, 1) << ",\"mean\":[" << Num(c.m_adMean[0], 2) << ","
            << Num(c.m_adMean[1], 2) << "," << Num(c.m_adMean[2], 2) << "," << Num(c.m_adMean[3], 2)
            << "],\"min\":" << c.m_uMin << ",\"max\":" << c.m_uMax << "}";
    });
    out << ",\n\"satellites\":";
    Array(out, r.m_aSatellites, [&](const SQcSatellitePlot& sat) {
        out << "\n {\"sat\":" << Str(SatelliteName(sat.m_uSystem, sat.m_uNumber)) << ",\"timeline\":";
        Array(out, sat.m_aCells, [&](const SQcTimelineCell& c) {
            out << "[" << c.m_uBucket << "," << c.m_uPresent << "," << c.m_uExpected << "," << c.m_uLossOfLock << ","
                << c.m_uSlips << "]";
        });
        out << ",\"track\":";
        Array(out, sat.m_aTrack, [&](const SQcTrackPoint& t) {
            out << "[" << Num(t.m_dSeconds, 0) << "," << Num(t.m_dElevation, 2) << "," << Num(t.m_dAzimuth, 2) << ","
                << Num(t.m_adStrength[0], 1) << "," << Num(t.m_adStrength[1], 1) << "," << Num(t.m_adStrength[2], 1)
                << "]";
        });
        out << "}";
    });
    out << ",\n\"timeline_columns\":[\"bucket\",\"present\",\"expected\",\"loss_of_lock\",\"slips\"],"
           "\"track_columns\":[\"seconds\",\"elevation_deg\",\"azimuth_deg\",\"strength_1\",\"strength_2\",\"strength_3\"]}\n}\n";
}
