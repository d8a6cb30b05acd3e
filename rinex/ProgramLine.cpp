#include "rinex/ProgramLine.h"

#include <cstdio>

#include "platform/LocalClock.h"

void FormatRunDate(char* text, size_t size)
{
    const SLocalClock now = GetLocalClock();
    std::snprintf(text, size, "%04d%02d%02d %02d%02d%02d", now.m_iYear, now.m_iMonth, now.m_iDay, now.m_iHour,
                  now.m_iMinute, now.m_iSecond);
}
