#pragma once

#include <cstdint>

#include "navstate/NavRecords.h"

// Rows of every satellite table: 0 to 31 are the numbers 1 to 32 for good;
// 32 to 34 are given out, first come first served, to numbers above 32.
constexpr uint32_t kSatRows = 35;
constexpr uint32_t kFixedRows = 32;
constexpr uint32_t kExtendedRows = 3;
// GLONASS satellites are numbered by slot.
constexpr uint32_t kGlonassSlots = 24;

// Status values of a record.
constexpr uint16_t kStatusEmpty = 0;
constexpr uint16_t kStatusOutsideFit = 1;
constexpr uint16_t kStatusInFit = 2;
constexpr uint16_t kStatusStored = 3;
constexpr uint16_t kStatusUnhealthy = 8;

// The satellite table of GPS (and, as a second object, of BeiDou): current
// and pending ephemeris of every row, their transmission times, the computed
// state, elevation and azimuth, and the last message taken for each row.
class CGpsNavState
{
public:
    CGpsNavState();
    virtual ~CGpsNavState();
    CGpsNavState(const CGpsNavState&) = delete;
    CGpsNavState& operator=(const CGpsNavState&) = delete;

    // Intake of a BIN95 frame (GPS subframes 1 to 3).
    virtual void OnBin95(const uint8_t* frame);
    // Intake of a BIN93 frame (SBAS geostationary ephemeris).
    void OnBin93(const uint8_t* frame);
    // Table row of a satellite number, or -1 when it has none. Numbers above
    // 32 are registered in the extended rows on the way.
    virtual int32_t SatIndexFromPRN(int32_t prn);
    // Re-evaluates the age and health of a row's current record.
    virtual void UpdateEphemerisAge(uint32_t prn);
    // Recomputes a row's satellite state at `time` (null: the log time).
    virtual void ComputeSatState(uint32_t prn, const GpsTime* time);
    // Brings a waiting record into use; true when the satellite may be used now.
    virtual bool ActivateEphemeris(uint32_t prn);

    // Row plus 1 for a satellite number, 0 when it has none.
    uint32_t InternalPRNFromTruePRN(uint32_t prn);
    // The table row of a satellite number in `row`; false when it has none.
    bool RowOfPRN(uint32_t prn, uint32_t& row);
    // The current record of a satellite, or null.
    const SGpsEphemeris* GetStructAlways(uint32_t prn, uint32_t* pTxTime);
    // Gives a number above 32 one of the three extended rows, at most three per run.
    void RegisterExtendedPRN(uint32_t prn);
    // Recomputes elevation and azimuth of a satellite from its state.
    void UpdateElevation(uint32_t prn, bool fresh);
    // Evaluates a row's state polynomial at `seconds` into `out`: 2 when `out`
    // is filled, 0 when the row has no computed state. The week is not used.
    uint32_t PredictSatState(uint32_t prn, uint32_t week, double seconds, SSatState& out);

    SGpsEphemeris m_aEphemeris[kSatRows];
    SGpsEphemeris m_aPendingEphemeris[kSatRows];
    SSatState m_aSatState[kSatRows];
    uint32_t m_auTxTime[kSatRows];
    uint32_t m_auPendingTxTime[kSatRows];
    double m_adElevation[kSatRows];
    double m_adAzimuth[kSatRows];
    uint32_t m_auTruePRN[kSatRows];
    uint32_t m_uExtendedCount;
    uint8_t m_abExtendedUsed[kExtendedRows];
    uint8_t (*m_pMessageCache)[140]; // last BIN95 or BIN93 of each row
};

// Compares the data words (3 to 10 of each subframe) of a cached BIN95 with
// those of a new one: 0 when they are alike, else not 0.
int CompareBin95(const uint8_t* cached, const uint8_t* message);

// The GLONASS table: the inherited row tables serve the slots 1 to 24.
class CGlonassNavState : public CGpsNavState
{
public:
    CGlonassNavState();
    ~CGlonassNavState() override;

    int32_t SatIndexFromPRN(int32_t prn) override;
    void UpdateEphemerisAge(uint32_t prn) override;
    void ComputeSatState(uint32_t prn, const GpsTime* time) override;
    bool ActivateEphemeris(uint32_t prn) override;

    // Intake of a BIN65 frame (strings 1 to 5 of one slot's immediate data).
    void OnBin65(const uint8_t* frame);

    // The current record of a slot, or null.
    const SGlonassEphemeris* GetStructAlways(uint32_t slot, uint32_t* pTxTime);

    SGlonassEphemeris m_aGloEphemeris[kSatRows];
    SGlonassEphemeris m_aGloPendingEphemeris[kSatRows];
    uint8_t (*m_pGloMessageCache)[80]; // last BIN65 of each row
};

// Where the receiver stands.
struct CNavState
{
    double m_adXyz[3];        // ECEF, metres
    double m_adLlh[3];        // latitude, longitude in radians; height in metres
    double m_adNeuMatrix[9];  // ECEF to north, east, up, by rows

    // Takes the location of the run, or the default place without one.
    void Init();
};

// The run-wide navigation state, built in this order before main begins.
extern CGpsNavState g_GpsNavState;
extern CGpsNavState g_BeidouNavState; // the BeiDou table: an object of the GPS class
extern CGlonassNavState g_GlonassNavState;
extern CNavState g_NavState;
