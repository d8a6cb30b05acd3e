#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "navstate/GlonassFrequencies.h"
#include "obsconv/ObsEpoch.h"
#include "rinex/ObsWriter.h"
#include "support/ExpectedObsText.h"
#include "support/ToolRun.h"

// Shared ground of the observation writer tests: a writer of its own over a
// fresh file, epochs filled by hand the way the adders fill them, and the
// observation file's header lines as a reader expects them.

// Week 2111 starts on Sunday 2020-06-21, so second 100 of it is 00:01:40.
constexpr uint32_t kWeek = 2111;

// One signal as the adders leave it in an entry.
struct SSignal
{
    double m_dPhase;
    double m_dCode;
    double m_dDoppler;
    uint32_t m_uStrength;
};

inline void PutSignal(SObsEntry& entry, uint32_t prn, const SSignal& s, bool good = true)
{
    entry.m_dPhase = s.m_dPhase;
    entry.m_dPseudorange = s.m_dCode;
    entry.m_dDoppler = s.m_dDoppler;
    entry.m_uStrength = s.m_uStrength;
    entry.m_uPRN = prn;
    entry.m_bValid = 1;
    entry.m_bGood = good ? 1 : 0;
}

// A BeiDou signal in the row of its number, which the adders also count as in use.
inline void PutBeidou(SObsEpoch& epoch, uint32_t band, uint32_t prn, const SSignal& s)
{
    PutSignal(epoch.m_aBds[band][prn - 1], prn, s);
    epoch.m_uBdsRowsInUse = std::max(epoch.m_uBdsRowsInUse, prn);
}

// Signals used throughout, with their field groups as the file shows them.
constexpr SSignal kG05L1 = {110000000.25, 21000000.5, -1234.75, 7};
constexpr SSignal kG05L2 = {85000000.75, 21000003.25, -962.5, 5};
constexpr SSignal kG12L1 = {120000000.125, 22000000.375, 2345.625, 6};
inline const std::string kG05L1Line = "G05 110000000.250 7  21000000.500 7     -1234.750 7";
inline const std::string kG12L1Line = "G12 120000000.125 6  22000000.375 6      2345.625 6";
inline const std::string kG05L2Triple = "  85000000.750 5  21000003.250 5      -962.500 5";
inline const std::string kBlankTriple = "         0.000 0         0.000 0         0.000 0";

// Lines of the marker block and of the moving-antenna records.
inline const std::string kBlockEventBlank = ">                              3  5\n";
inline const std::string kBlockNameSiteA = "SITE A                                                      MARKER NAME         \n";
inline const std::string kBlockNumber0042 = "0042                                                        MARKER NUMBER       \n";
inline const std::string kBlockDeltaDefault = "        0.0000        0.0000        0.0000                  ANTENNA: DELTA H/E/N\n";
inline const std::string kBlockNoPosition = " NO VALID POSITION RECORD FOUND FOR THIS MARKER             COMMENT             \n";
inline const std::string kBlockPosition = "  3845123.2500  1234567.5000 -4987654.1250                  APPROX POSITION XYZ \n";
inline const std::string kBlockComment = " *** START NEW MARKER ***                                   COMMENT             \n";
inline const std::string kMovingRecords = ">                              2\n"
                                          ">                              4  1\n"
                                          " *** START MOVING ANTENNA ***                               COMMENT             \n";
constexpr double kSitePosition[3] = {3845123.25, 1234567.5, -4987654.125};

// A marker block of "SITE A", "0042" with the given event line and position line.
inline std::string MarkerBlock(const std::string& eventLine, const std::string& positionLine = kBlockNoPosition)
{
    return eventLine + kBlockNameSiteA + kBlockNumber0042 + kBlockDeltaDefault + positionLine + kBlockComment;
}

// A writer over a file of its own in a scratch folder, and the epoch it is
// handed, filled by hand the way the epoch assembly fills it.
class ObsFileFixture : public ::testing::Test
{
protected:
    void SetUp() override
    {
        m_pFile = std::fopen(m_Dir.Path("obs.rnx").c_str(), "w+");
        ASSERT_NE(m_pFile, nullptr);
        m_pWriter = std::make_unique<CWriteRinexObs>(m_External, m_Frequencies);
        m_pWriter->SetSite(m_pFile, nullptr);
        m_Epoch.m_dInterval = 1.0;
    }

    void TearDown() override
    {
        if (m_pFile != nullptr)
            std::fclose(m_pFile);
    }

    CWriteRinexObs& Writer() { return *m_pWriter; }

    // Hands the epoch at `seconds` of `week` to the writer as the assembly
    // hands an accepted one on, then clears it for the next.
    void Flush(double seconds, uint32_t week = kWeek)
    {
        m_Epoch.m_timeEpoch = GpsTime{week, seconds};
        if (m_Epoch.m_timeFirstObs.m_uWeek == 0)
            m_Epoch.m_timeFirstObs = m_Epoch.m_timeEpoch;
        SelectListed(m_Epoch);
        m_pWriter->WriteEpoch(m_Epoch);
        ClearEpochTables(m_Epoch);
    }

    // The file as it stands on disk once brought up to date, run date masked.
    std::string FileText()
    {
        m_pWriter->SyncToDisk();
        return MaskRunDate(m_Dir.ReadFile("obs.rnx"));
    }

    CScratchDir m_Dir;
    std::FILE* m_pFile = nullptr;
    SExternalHeader m_External{};
    CGlonassFrequencies m_Frequencies;
    SObsEpoch m_Epoch{};
    std::unique_ptr<CWriteRinexObs> m_pWriter;
};
