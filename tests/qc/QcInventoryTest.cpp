// The log inventory's time steps and the drop table's check, on short
// made-up sequences of epochs and counts.
#include <gtest/gtest.h>

#include <vector>

#include "qc/DropTable.h"
#include "qc/LogInventory.h"

namespace
{
struct SStepCase
{
    const char* m_szName;
    std::vector<double> m_adEpochs;
    double m_dInterval;
    uint64_t m_uBackward;
    uint64_t m_uForward;
};

const SStepCase kStepCases[] = {
    {"Regular", {0, 30, 60, 90, 120}, 30.0, 0, 0},
    {"JumpAhead", {0, 30, 60, 150, 180, 210}, 30.0, 0, 1},
    {"StepBack", {0, 1, 2, 3, 2.5, 3.5, 4.5}, 1.0, 1, 0},
    {"RepeatedEpoch", {0, 1, 2, 2, 3}, 1.0, 1, 0},
    {"JustUnderAGap", {0, 10, 20, 35, 45}, 10.0, 0, 0},
};

class QcStepTest : public ::testing::TestWithParam<SStepCase>
{
};

TEST_P(QcStepTest, CountsStepsAndFindsTheInterval)
{
    const SStepCase& c = GetParam();
    CQcLogInventory inventory;
    for (double t : c.m_adEpochs)
        inventory.NoteEpoch(1.0e9 + t);
    EXPECT_DOUBLE_EQ(inventory.Interval(), c.m_dInterval);
    EXPECT_EQ(inventory.BackwardSteps(), c.m_uBackward);
    EXPECT_EQ(inventory.ForwardJumps(), c.m_uForward);
    EXPECT_EQ(inventory.Epochs(), c.m_adEpochs.size());
}

INSTANTIATE_TEST_SUITE_P(Epochs, QcStepTest, ::testing::ValuesIn(kStepCases),
                         [](const ::testing::TestParamInfo<SStepCase>& info) { return std::string(info.param.m_szName); });

struct SDropCase
{
    const char* m_szName;
    uint64_t m_uFileCount; // what the file received for the row (written 3 of 5)
    uint32_t m_uBadReason; // an extra observation with this reason (0: none)
    bool m_bAddsUp;
};

const SDropCase kDropCases[] = {
    {"FileAgrees", 3, 0, true},
    {"FileHasOneMore", 4, 0, false},
    {"FileHasOneLess", 2, 0, false},
    {"ReasonOutOfRange", 3, kQcDropReasonCount + 2, false},
};

class QcDropTest : public ::testing::TestWithParam<SDropCase>
{
};

TEST_P(QcDropTest, RowsAddUpAgainstTheFile)
{
    const SDropCase& c = GetParam();
    CQcDropTable table;
    for (uint32_t reason : {eQcWritten, eQcWritten, eQcDropBelowMask, eQcWritten, eQcDropDecimated})
        table.NoteObservation(eQcGps, 5, eQcGpsL1CA, reason);
    if (c.m_uBadReason != 0)
        table.NoteObservation(eQcGps, 6, eQcGpsL1CA, c.m_uBadReason);
    table.NoteFileCount(eQcGps, 5, eQcGpsL1CA, c.m_uFileCount);
    EXPECT_EQ(table.AddsUp(), c.m_bAddsUp);
    EXPECT_EQ(table.CheckedRows(), 1u);
    const SQcDropRow totals = table.Totals();
    EXPECT_EQ(totals.m_auCount[eQcDropBelowMask], 1u);
    EXPECT_EQ(totals.m_auCount[eQcDropDecimated], 1u);
}

INSTANTIATE_TEST_SUITE_P(Counts, QcDropTest, ::testing::ValuesIn(kDropCases),
                         [](const ::testing::TestParamInfo<SDropCase>& info) { return std::string(info.param.m_szName); });
} // namespace
