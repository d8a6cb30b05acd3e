#pragma once

#include <string>
#include <vector>

#include "logbuild/FrameWriter.h"

// A folder of its own for one test, removed with the object.
class CScratchDir
{
public:
    CScratchDir();
    ~CScratchDir();
    CScratchDir(const CScratchDir&) = delete;
    CScratchDir& operator=(const CScratchDir&) = delete;

    // The folder's full path, and that of `name` inside it.
    std::string Dir() const;
    std::string Path(const std::string& name) const;
    void WriteFile(const std::string& name, const Bytes& content) const;
    void WriteFile(const std::string& name, const std::string& content) const;
    // The whole file as text; empty if it doesn't exist.
    std::string ReadFile(const std::string& name) const;
    bool Exists(const std::string& name) const;

private:
    std::string m_szPath;
};

// What one run of the built executable left behind.
struct SToolRun
{
    int m_iExitStatus = -1;
    std::string m_szStderr;
    std::string m_szStdout;
};

// A run of an executable that goes on while the test works: its standard
// input is closed, both output streams are captured.
class CToolProcess
{
public:
    CToolProcess(const std::string& executable, const std::vector<std::string>& args,
                 const std::string& workDir = ".");
    ~CToolProcess();
    CToolProcess(const CToolProcess&) = delete;
    CToolProcess& operator=(const CToolProcess&) = delete;

    void Signal(int number) const;
    // Waits for the end; the exit status is 128 + the signal's number for a
    // run that a signal ended.
    SToolRun Wait();

private:
    CScratchDir m_Captured;
    int m_iPid = -1;
};

// Runs the obsforge executable with `args` (element 0 is added) in the folder
// `workDir`, standard input closed, and captures its exit status and both
// output streams. File names in `args` are relative to `workDir`: a name that
// starts with "/" would be taken for an option.
SToolRun RunObsforgeTool(const std::vector<std::string>& args, const std::string& workDir = ".");

// The same for any executable, named by its path.
SToolRun RunTool(const std::string& executable, const std::vector<std::string>& args,
                 const std::string& workDir = ".");
