#include "support/ToolRun.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

extern char** environ;

namespace
{
std::string ReadWholeFile(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}
} // namespace

std::string CScratchDir::Dir() const
{
    return m_szPath;
}

CScratchDir::CScratchDir()
{
    std::string pattern = (std::filesystem::temp_directory_path() / "obsforge-test-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr)
        throw std::runtime_error("cannot create a scratch folder");
    m_szPath = pattern;
}

CScratchDir::~CScratchDir()
{
    std::error_code ignored;
    std::filesystem::remove_all(m_szPath, ignored);
}

std::string CScratchDir::Path(const std::string& name) const
{
    return m_szPath + "/" + name;
}

void CScratchDir::WriteFile(const std::string& name, const Bytes& content) const
{
    std::ofstream out(Path(name), std::ios::binary);
    out.write(reinterpret_cast<const char*>(content.data()), static_cast<std::streamsize>(content.size()));
}

void CScratchDir::WriteFile(const std::string& name, const std::string& content) const
{
    std::ofstream out(Path(name), std::ios::binary);
    out << content;
}

std::string CScratchDir::ReadFile(const std::string& name) const
{
    return ReadWholeFile(Path(name));
}

bool CScratchDir::Exists(const std::string& name) const
{
    return std::filesystem::exists(Path(name));
}

SToolRun RunObsforgeTool(const std::vector<std::string>& args, const std::string& workDir)
{
    return RunTool(OBSFORGE_EXE, args, workDir);
}

SToolRun RunTool(const std::string& executable, const std::vector<std::string>& args, const std::string& workDir)
{
    return CToolProcess(executable, args, workDir).Wait();
}

CToolProcess::CToolProcess(const std::string& executable, const std::vector<std::string>& args,
                           const std::string& workDir)
{
    std::vector<std::string> words{executable};
    words.insert(words.end(), args.begin(), args.end());
    std::vector<char*> argv;
    for (std::string& w : words)
        argv.push_back(w.data());
    argv.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addchdir_np(&actions, workDir.c_str());
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 1, m_Captured.Path("stdout").c_str(), O_WRONLY | O_CREAT | O_TRUNC,
                                     0644);
    posix_spawn_file_actions_addopen(&actions, 2, m_Captured.Path("stderr").c_str(), O_WRONLY | O_CREAT | O_TRUNC,
                                     0644);
    pid_t pid = 0;
    if (posix_spawn(&pid, executable.c_str(), &actions, nullptr, argv.data(), environ) == 0)
        m_iPid = pid;
    posix_spawn_file_actions_destroy(&actions);
}

CToolProcess::~CToolProcess()
{
    if (m_iPid > 0)
    {
        kill(m_iPid, SIGKILL);
        waitpid(m_iPid, nullptr, 0);
    }
}

void CToolProcess::Signal(int number) const
{
    if (m_iPid > 0)
        kill(m_iPid, number);
}

SToolRun CToolProcess::Wait()
{
    SToolRun run;
    if (m_iPid > 0)
    {
        int status = 0;
        waitpid(m_iPid, &status, 0);
        m_iPid = -1;
        run.m_iExitStatus = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }
    run.m_szStderr = m_Captured.ReadFile("stderr");
    run.m_szStdout = m_Captured.ReadFile("stdout");
    return run;
}
