#pragma once

#include <cstdint>
#include <cstdio>
#include <string>

#include "driver/RunFiles.h"
#include "driver/RunOptions.h"
#include "driver/RunStats.h"
#include "driver/SiteInputs.h"
#include "gnsstime/GpsTime.h"
#include "navstate/Navigation.h"
#include "obsconv/EpochAssembly.h"
#include "obsconv/LogDecoding.h"
#include "obsconv/ObsIntake.h"
#include "obsconv/ObsSlots.h"
#include "obsconv/SatelliteUpkeep.h"
#include "rinex/BeidouNavWriter.h"
#include "rinex/GlonassNavWriter.h"
#include "rinex/NavWriter.h"
#include "rinex/ObsWriter.h"

// The outputs of a pass by kind, each possibly without a stream. A stream
// whose writing fails is named on the error stream when the failure is seen,
// its writer goes on without it, and m_iError keeps the system's error number.
struct SPassOutput
{
    std::FILE* m_pStream = nullptr;
    std::string m_szPath;
    int m_iError = 0;
};
struct SPassOutputs
{
    SPassOutput m_aOutput[eOutputKinds];
};

// One conversion: every object of a run, built once (by main, or by a test or
// a fuzzer for each of its runs) and shared with no other conversion. The
// command line writes the options, the site lines and the writer's moving
// flag; then ConvertLog makes the single pass.
class CConversion : private IEpochSink, private IDecodingListener
{
public:
    CConversion();
    CConversion(const CConversion&) = delete;
    CConversion& operator=(const CConversion&) = delete;

    // The table of accepted BeiDou blocks, allocated once; false when the
    // memory can't be had.
    bool AllocateTables() { return m_Navigation.m_BeidouDecoders.AllocateBeidouEphTable(); }

    // The single pass over the receiver log read from `inputFd`: frames are
    // taken one at a time, told apart by kind, message number and exact
    // length, handed to their consumers and counted. At the end the last
    // epoch is flushed and the counters are printed.
    //
    // The files on disk are brought up to date (every epoch written so far,
    // then the header that names them) whenever the pass is about to wait
    // for input, about once a second on a long pass, and at the end. A stop
    // signal ends the pass at the next frame boundary as if the log ended
    // there. Returns the number of that signal, 0 when the log ended.
    int ConvertLog(int inputFd, SPassOutputs& outputs);

    // What the site inputs of the command line write to.
    SSiteTargets SiteTargets() { return {m_Options, m_ExternalHeader, m_ObsWriter, m_SiteNotes}; }

    SRunOptions m_Options;
    SExternalHeader m_ExternalHeader{};
    SSiteNotes m_SiteNotes;

    CLogTime m_LogTime;
    CNavigation m_Navigation;
    SObsSlots m_Slots;
    SMaskRule m_Mask;
    CEpochAssembly m_Assembly;
    CWriteRinexObs m_ObsWriter;
    CWriteRinexNav m_GpsNavWriter;
    CWriteRinexGlonassNav m_GlonassNavWriter;
    CWriteRinexBeiDouNav m_BeidouNavWriter;
    SRunStats m_Stats;

private:
    // The epochs of the assembly go to the observation writer and the counts.
    void TakeEpoch(const SObsEpoch& epoch) override;

    // Navigation records and the BDUT line go to their files.
    void OnNavigationPass(ESystem system) override;
    void OnBin34Stored() override;
    void OnMessageLeftOut(const uint8_t*, uint16_t, EMessageLeftOut) override {}

    // Hands the options to the run's objects before the first frame.
    void PrepareRun(SPassOutputs& outputs);

    void DispatchSiteFrame(const uint8_t* frame, uint32_t length);
    void DispatchSentence(const uint8_t* frame, uint32_t length);

    void CheckOutputs(SPassOutputs& outputs);
    void SyncOutputs(SPassOutputs& outputs);
    void PrintMessageCounts() const;

    SObsIntake m_Intake;
    CLogDecoding m_Decoding;
    uint32_t m_uMessageCount = 0; // binary messages and site frames, known or not

    // The input is read in blocks into this one buffer, reused for the whole
    // run; frames are consumed in place.
    static constexpr uint32_t kReadBlockSize = 16384;
    uint8_t m_aReadBlock[kReadBlockSize];
};
