#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "qc/QcInput.h"

// What the conversion left out and why, per satellite and signal. Every
// observation of the log is counted once, with the reason it was left out
// or as written. Where the writer's own count of what reached the file is
// given, each row is checked: the observations in the log must be the ones
// in the file plus the sum of the drops.

struct SQcDropRow
{
    uint32_t m_uSystem = 0;
    uint32_t m_uNumber = 0;
    uint32_t m_uSignal = 0;
    uint64_t m_uInLog = 0;
    uint64_t m_auCount[kQcDropReasonCount] = {}; // [eQcWritten] is the written ones
    // What the observation file received, counted on the writer's side, when
    // the integration gives it; the check compares the two sides.
    bool m_bHaveFileCount = false;
    uint64_t m_uFileCount = 0;

    uint64_t Written() const { return m_auCount[eQcWritten]; }
    uint64_t Dropped() const;
};

// Short name of a reason, as the report's columns and the CSV use it.
const char* DropReasonName(uint32_t reason);
// What a reason means, for the report's legend.
const char* DropReasonText(uint32_t reason);

class CQcDropTable
{
public:
    // An out-of-range reason is kept apart and fails the check.
    void NoteObservation(uint32_t system, uint32_t number, uint32_t signal, uint32_t reason);
    // The number of observations of a row that the observation file received.
    void NoteFileCount(uint32_t system, uint32_t number, uint32_t signal, uint64_t count);

    // Rows ordered by system, number and signal.
    std::vector<SQcDropRow> Rows() const;
    // The sums over all rows (system, number and signal 0).
    SQcDropRow Totals() const;
    // True when every row adds up: in the log = written + dropped, with the
    // file's count as the written one where it is given.
    bool AddsUp() const;
    // Rows whose file count was given.
    uint64_t CheckedRows() const;

private:
    SQcDropRow& Row(uint32_t system, uint32_t number, uint32_t signal);

    uint64_t m_uBadReasons = 0;
    std::map<uint64_t, SQcDropRow> m_Rows;
};
