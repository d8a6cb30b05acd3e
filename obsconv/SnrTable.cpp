#include "obsconv/SnrTable.h"

#include <cmath>

CSnrTable::CSnrTable(double scale) : m_dScale(scale)
{
    for (uint32_t raw = 0; raw < kRawValues; ++raw)
        m_adDb[raw] = Compute(raw);
}

double CSnrTable::Compute(uint32_t raw) const
{
    return raw != 0 ? 10.0 * std::log10(raw * m_dScale) : 0.0;
}
