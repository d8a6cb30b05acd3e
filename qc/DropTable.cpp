#include "qc/DropTable.h"

namespace
{
const char* const kReasonNames[kQcDropReasonCount] = {
    "written", "no_lock", "before_eph", "below_mask", "never_written", "beyond_tables", "time_mismatch",
    "other_gps_msg", "decimated", "no_column",
};
const char* const kReasonTexts[kQcDropReasonCount] = {
    "written to the observation file",
    "the receiver's good-lock bit was clear",
    "before the satellite's ephemeris (with -E, without -B)",
    "below the elevation mask (-E)",
    "a satellite number the file never takes (SBAS)",
    "a satellite number the satellite tables can't hold",
    "a message whose time is no epoch's it can join (another second, or a repeat of the epoch in hand)",
    "the other GPS observation message (BIN96 and BIN76 both in the log)",
    "an epoch the rate gate leaves out (the interval of -N, or before the output grid is found)",
    "L1 P without -P1: the file has no column for it",
};
} // namespace

uint64_t SQcDropRow::Dropped() const
{
    uint64_t sum = 0;
    for (uint32_t r = 1; r < kQcDropReasonCount; ++r)
        sum += m_auCount[r];
    return sum;
}

const char* DropReasonName(uint32_t reason)
{
    return reason < kQcDropReasonCount ? kReasonNames[reason] : "unknown";
}

const char* DropReasonText(uint32_t reason)
{
    return reason < kQcDropReasonCount ? kReasonTexts[reason] : "unknown";
}

SQcDropRow& CQcDropTable::Row(uint32_t system, uint32_t number, uint32_t signal)
{
    const uint64_t key = static_cast<uint64_t>(system) << 40 | static_cast<uint64_t>(number & 0xFFFFFF) << 8 |
                         (signal & 0xFF);
    SQcDropRow& row = m_Rows[key];
    row.m_uSystem = system;
    row.m_uNumber = number;
    row.m_uSignal = signal;
    return row;
}

void CQcDropTable::NoteObservation(uint32_t system, uint32_t number, uint32_t signal, uint32_t reason)
{
    SQcDropRow& row = Row(system, number, signal);
    ++row.m_uInLog;
    if (reason < kQcDropReasonCount)
        ++row.m_auCount[reason];
    else
        ++m_uBadReasons;
}

void CQcDropTable::NoteFileCount(uint32_t system, uint32_t number, uint32_t signal, uint64_t count)
{
    SQcDropRow& row = Row(system, number, signal);
    row.m_bHaveFileCount = true;
    row.m_uFileCount = count;
}

std::vector<SQcDropRow> CQcDropTable::Rows() const
{
    std::vector<SQcDropRow> rows;
    rows.reserve(m_Rows.size());
    for (const auto& entry : m_Rows)
        rows.push_back(entry.second);
    return rows;
}

SQcDropRow CQcDropTable::Totals() const
{
    SQcDropRow total;
    for (const auto& entry : m_Rows)
    {
        total.m_uInLog += entry.second.m_uInLog;
        for (uint32_t r = 0; r < kQcDropReasonCount; ++r)
            total.m_auCount[r] += entry.second.m_auCount[r];
    }
    return total;
}

bool CQcDropTable::AddsUp() const
{
    if (m_uBadReasons != 0)
        return false;
    for (const auto& [key, row] : m_Rows)
    {
        const uint64_t written = row.m_bHaveFileCount ? row.m_uFileCount : row.Written();
        if (written + row.Dropped() != row.m_uInLog)
            return false;
    }
    return true;
}

uint64_t CQcDropTable::CheckedRows() const
{
    uint64_t rows = 0;
    for (const auto& [key, row] : m_Rows)
        rows += row.m_bHaveFileCount ? 1 : 0;
    return rows;
}
