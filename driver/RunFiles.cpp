#include "driver/RunFiles.h"

#include <cerrno>
#include <cstring>

namespace
{
// Enough of a file's start to tell a file of ours: a RINEX header line and
// its line end, or the summary's first line.
constexpr size_t kHeadBytes = 82;

// Where a RINEX version line carries its file type and its label.
constexpr size_t kTypeColumn = 20;
constexpr size_t kLabelColumn = 60;
constexpr const char* kVersionLabel = "RINEX VERSION / TYPE";

// An event record opens an observation file that starts with a marker block
// or moving records: ">", then the epoch flag (2 to 5) in column 32.
constexpr size_t kEventFlagColumn = 31;

// The observation file's stream buffer: the epochs reach the file in pieces
// this large, since nothing needs to be on disk at every epoch, only
// whenever the conversion waits and at its end.
constexpr size_t kObsStreamBuffer = 1 << 18;

constexpr const char* kSummaryRule = "--------------------------------------------------\n";

bool IsRinexOfType(const std::string& head, const char* types)
{
    const size_t labelLength = std::strlen(kVersionLabel);
    return head.size() > kLabelColumn + labelLength &&
           head.compare(kLabelColumn, labelLength, kVersionLabel) == 0 &&
           std::strchr(types, head[kTypeColumn]) != nullptr && head[kTypeColumn] != '\0';
}

bool IsEventRecord(const std::string& head)
{
    return head.size() > kEventFlagColumn && head[0] == '>' && head[kEventFlagColumn] >= '2' &&
           head[kEventFlagColumn] <= '5';
}

// True when `head`, the start of a file that isn't empty, looks like a file
// this tool writes as `kind`: an observation file (which may open with an
// event record), a navigation file (RINEX 3 type N, or a RINEX 2 GLONASS
// file), or a summary.
bool IsOurs(EOutputKind kind, const std::string& head)
{
    switch (kind)
    {
    case eOutputObservation:
        return IsRinexOfType(head, "O") || IsEventRecord(head);
    case eOutputGpsNav:
    case eOutputGlonassNav:
    case eOutputBeidouNav:
        return IsRinexOfType(head, "NG");
    case eOutputSummary:
        return head.compare(0, std::strlen(kSummaryRule), kSummaryRule) == 0;
    case eOutputKinds:
        break;
    }
    return false;
}

bool SameFile(const SFileInfo& a, const SFileInfo& b)
{
    return a.m_uDevice == b.m_uDevice && a.m_uInode == b.m_uInode;
}

std::string Quoted(const std::string& path)
{
    return "'" + path + "'";
}
} // namespace

const char* OutputKindName(EOutputKind kind)
{
    switch (kind)
    {
    case eOutputObservation:
        return "observation file";
    case eOutputGpsNav:
        return "GPS navigation file";
    case eOutputGlonassNav:
        return "GLONASS navigation file";
    case eOutputBeidouNav:
        return "BeiDou navigation file";
    case eOutputSummary:
        return "summary file";
    case eOutputKinds:
        break;
    }
    return "output";
}

CRunFiles::~CRunFiles()
{
    CloseAll();
}

bool CRunFiles::OpenInput(const std::string& path, bool twice, std::string& error)
{
    const int failure = OpenForReading(path.c_str(), m_iInputFd, m_InputInfo);
    if (failure != 0)
    {
        error = "cannot open the log " + Quoted(path) + ": " + SystemReason(failure);
        return false;
    }
    m_szInputPath = path;
    if (m_InputInfo.m_bDirectory)
    {
        error = "the log " + Quoted(path) + " is a folder";
        return false;
    }
    if (twice && !m_InputInfo.m_bRegular)
    {
        error = "-R reads the log twice, and " + Quoted(path) + " can be read only once (it is not a regular file)";
        return false;
    }
    return true;
}

bool CRunFiles::OpenOutput(EOutputKind kind, const std::string& path, bool force, size_t& index, std::string& error)
{
    SOutputFile output;
    output.m_eKind = kind;
    output.m_szPath = path;
    const std::string named = std::string("the ") + OutputKindName(kind) + " " + Quoted(path);
    const int failure = OpenForWriting(path.c_str(), output.m_iFd, output.m_bCreated, output.m_Info);
    if (failure != 0)
    {
        error = "cannot create " + named + ": " + SystemReason(failure);
        return false;
    }
    // Kept from here on, so Abandon closes it and removes it if it is new.
    m_aOutputs.push_back(output);
    index = m_aOutputs.size() - 1;
    const SFileInfo& info = output.m_Info;

    if (m_iInputFd >= 0 && SameFile(info, m_InputInfo))
    {
        error = named + " is the log itself";
        return false;
    }
    for (size_t other = 0; other < index; ++other)
    {
        const SOutputFile& earlier = m_aOutputs[other];
        // Devices such as /dev/null may take several outputs.
        if (SameFile(info, earlier.m_Info) && !(info.m_bCharDevice && earlier.m_Info.m_bCharDevice))
        {
            error = named + " is the same file as the " + OutputKindName(earlier.m_eKind) + " " +
                    Quoted(earlier.m_szPath);
            return false;
        }
    }
    // The summary is written from start to end; the RINEX files are rewritten in place.
    if (kind != eOutputSummary && !info.m_bSeekable)
    {
        error = "cannot write " + named + ": it is a pipe or socket, and the file is rewritten in place";
        return false;
    }
    if (!force && info.m_bRegular && info.m_iSize > 0 && !IsOurs(kind, ReadFileHead(output.m_iFd, kHeadBytes)))
    {
        error = named + " exists and is not " +
                (kind == eOutputSummary ? std::string("a summary of obsforge")
                                        : std::string("a RINEX ") + OutputKindName(kind)) +
                "; nothing was written (--force overwrites it)";
        return false;
    }
    return true;
}

void CRunFiles::Abandon()
{
    for (SOutputFile& output : m_aOutputs)
    {
        CloseDescriptor(output.m_iFd);
        output.m_iFd = -1;
        if (output.m_bCreated)
            RemovePath(output.m_szPath.c_str());
    }
    m_aOutputs.clear();
    CloseDescriptor(m_iInputFd);
    m_iInputFd = -1;
}

bool CRunFiles::StartOutput(size_t index, std::string& error)
{
    SOutputFile& output = m_aOutputs[index];
    int failure = output.m_Info.m_bRegular ? EmptyFile(output.m_iFd) : 0;
    if (failure == 0)
    {
        output.m_pStream = StreamOverDescriptor(output.m_iFd, "w+");
        if (output.m_pStream == nullptr)
            failure = errno;
        else
            output.m_iFd = -1; // the stream owns it now
        if (output.m_pStream != nullptr && output.m_eKind == eOutputObservation)
            std::setvbuf(output.m_pStream, nullptr, _IOFBF, kObsStreamBuffer);
    }
    if (failure != 0)
    {
        output.m_bFailed = true;
        error = std::string("cannot write the ") + OutputKindName(output.m_eKind) + " " + Quoted(output.m_szPath) +
                ": " + SystemReason(failure);
        return false;
    }
    return true;
}

void CRunFiles::ReportFailure(size_t index, int error)
{
    SOutputFile& output = m_aOutputs[index];
    if (output.m_bFailed)
        return;
    output.m_bFailed = true;
    ReportOutputFailure(OutputKindName(output.m_eKind), output.m_szPath, error);
}

void ReportOutputFailure(const char* kindName, const std::string& path, int error)
{
    std::fprintf(stderr, "obsforge: writing the %s '%s' failed: %s\n", kindName, path.c_str(),
                 SystemReason(error != 0 ? error : EIO).c_str());
}

void CRunFiles::CloseAll()
{
    CloseDescriptor(m_iInputFd);
    m_iInputFd = -1;
    for (size_t i = 0; i < m_aOutputs.size(); ++i)
    {
        SOutputFile& output = m_aOutputs[i];
        if (output.m_pStream != nullptr)
        {
            const bool bad = std::ferror(output.m_pStream) != 0;
            errno = 0;
            const bool closed = std::fclose(output.m_pStream) == 0;
            output.m_pStream = nullptr;
            if (bad || !closed)
                ReportFailure(i, errno);
        }
        CloseDescriptor(output.m_iFd);
        output.m_iFd = -1;
    }
}

bool CRunFiles::AnyFailed() const
{
    for (const SOutputFile& output : m_aOutputs)
        if (output.m_bFailed)
            return true;
    return false;
}
