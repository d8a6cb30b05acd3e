#pragma once

#include <cstdio>
#include <string>
#include <vector>

#include "platform/FileAccess.h"

// The files of a run. Every file is opened and looked at before any output
// is emptied: a run that stops during the checks leaves each file as it was
// (an output it created for the check is removed again). Outputs are then
// emptied in command-line order. During the conversion an output whose
// writing fails is named once and given up, so the others are finished.

// What an output is for: its name in messages and how a file of ours begins.
enum EOutputKind
{
    eOutputObservation,
    eOutputGpsNav,
    eOutputGlonassNav,
    eOutputBeidouNav,
    eOutputSummary,
    eOutputKinds
};

struct SOutputFile
{
    EOutputKind m_eKind = eOutputObservation;
    std::string m_szPath;
    int m_iFd = -1;
    bool m_bCreated = false; // made by the checks; removed if the run stops there
    SFileInfo m_Info;
    std::FILE* m_pStream = nullptr; // once emptied and in use
    bool m_bFailed = false;         // writing failed and was reported
};

class CRunFiles
{
public:
    CRunFiles() = default;
    ~CRunFiles();
    CRunFiles(const CRunFiles&) = delete;
    CRunFiles& operator=(const CRunFiles&) = delete;

    // Opens the log. False with `error` set when it can't be read as one,
    // or when it is to be read twice (`twice`, for -R) and can't be.
    bool OpenInput(const std::string& path, bool twice, std::string& error);
    // Opens an output without changing it and returns its index. False with
    // `error` set when it can't be written, is the log or another output, or
    // holds something that isn't ours (unless `force`).
    bool OpenOutput(EOutputKind kind, const std::string& path, bool force, size_t& index, std::string& error);

    // The checks failed: closes everything and removes what they created.
    void Abandon();

    // Empties output `index` and gives it a stream. False with `error` set
    // when that fails; the output then counts as failed.
    bool StartOutput(size_t index, std::string& error);

    // Names an output's failure once on the error stream; the output is
    // given up. `error` is the system's error number.
    void ReportFailure(size_t index, int error);
    // Closes every stream; a close that fails is reported like any failure.
    void CloseAll();

    int InputFd() const { return m_iInputFd; }
    const std::string& InputPath() const { return m_szInputPath; }
    bool InputIsRegular() const { return m_InputInfo.m_bRegular; }
    SOutputFile& Output(size_t index) { return m_aOutputs[index]; }
    size_t OutputCount() const { return m_aOutputs.size(); }
    bool AnyFailed() const;

private:
    int m_iInputFd = -1;
    std::string m_szInputPath;
    SFileInfo m_InputInfo;
    std::vector<SOutputFile> m_aOutputs;
};

// "observation file", "GPS navigation file" and so on.
const char* OutputKindName(EOutputKind kind);

// Names the failure of an output on the error stream: its kind, its path and
// the system's reason for `error`.
void ReportOutputFailure(const char* kindName, const std::string& path, int error);
