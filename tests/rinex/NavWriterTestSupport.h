#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <string>

#include "driver/RunStats.h"
#include "gnsstime/GpsTime.h"
#include "logio/BinaryMessages.h"
#include "rinex/NavWriter.h"
#include "support/ExpectedObsText.h"

// A navigation writer of its own over a fresh temporary file, with the
// run-wide state the writers read cleared before and after each test.
template <typename TWriter>
class CNavWriterTest : public ::testing::Test
{
protected:
    void SetUp() override { StartRun(); }

    void TearDown() override
    {
        std::fclose(m_pFile);
        m_pFile = nullptr;
        ClearRun();
    }

    // A new run: a new file and a new writer.
    void StartRun()
    {
        if (m_pFile != nullptr)
            std::fclose(m_pFile);
        ClearRun();
        m_pFile = std::tmpfile();
        ASSERT_NE(m_pFile, nullptr);
        m_Writer = TWriter{};
        m_Writer.SetFile(m_pFile);
    }

    // The tables of the writer's system are cleared by the test's own fixture.
    virtual void ClearTables() = 0;

    void ClearRun()
    {
        ClearTables();
        SetLogTime(0.0, 0);
        RunStats = SRunStats{};
        g_UtcParams = SUtcParams{};
        g_StoredMessages = SStoredMessages{};
        g_iGpsLeapSeconds = 0;
        g_iBeidouLeapSeconds = 0;
    }

    // The whole file with its run date masked, whatever the stream's position.
    std::string FileText()
    {
        std::fflush(m_pFile);
        const long at = std::ftell(m_pFile);
        std::rewind(m_pFile);
        std::string text;
        char buffer[4096];
        for (size_t n = 0; (n = std::fread(buffer, 1, sizeof(buffer), m_pFile)) > 0;)
            text.append(buffer, n);
        std::fseek(m_pFile, at, SEEK_SET);
        return MaskRunDate(text);
    }

    std::FILE* m_pFile = nullptr;
    TWriter m_Writer;
};
