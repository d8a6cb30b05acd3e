#pragma once

#include "navstate/GlonassFrequencies.h"
#include "navstate/NavState.h"
#include "navstate/Navigation.h"
#include "obsconv/EpochAssembly.h"
#include "obsconv/ObsSlots.h"
#include "obsconv/SatelliteUpkeep.h"

// What the observation decoders of a run work with: the slots kept between
// messages, the navigation table of each system, the GLONASS carriers, the
// elevation mask, and the epoch being gathered. A decoder turns one frame
// into slots; the assembly turns slots into entries.
struct SObsIntake
{
    SObsSlots& m_Slots;
    CEpochAssembly& m_Assembly;
    CGpsNavState& m_Gps;
    CGlonassNavState& m_Glonass;
    CBeidouNavState& m_Beidou;
    const CGlonassFrequencies& m_Frequencies;
    const SMaskRule& m_Mask;

    // The intake of a run whose navigation state is `navigation`.
    static SObsIntake Of(SObsSlots& slots, CEpochAssembly& assembly, CNavigation& navigation, const SMaskRule& mask)
    {
        return SObsIntake{slots,
                          assembly,
                          navigation.m_Gps,
                          navigation.m_Glonass,
                          navigation.m_Beidou,
                          navigation.m_GlonassFrequencies,
                          mask};
    }
};
