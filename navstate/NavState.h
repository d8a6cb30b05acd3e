#pragma once

#include <cstdint>

#include "gnsstime/GpsTime.h"
#include "navstate/NavRecords.h"

struct CNavState;

// Rows of the GPS table (and of the GLONASS table, whose slots take the
// first 24): 0 to 31 are the numbers 1 to 32 for good; 32 to 34 are given
// out, first come first served, to numbers above 32 (SBAS).
constexpr uint32_t kSatRows = 35;
constexpr uint32_t kFixedRows = 32;
// GPS numbers above this are SBAS satellites: they have no records in the
// navigation file and no place in the observation file.
constexpr uint32_t kLastGpsNumber = kFixedRows;
constexpr uint32_t kExtendedRows = 3;
// GLONASS satellites are numbered by slot.
constexpr uint32_t kGlonassSlots = 24;
// The BeiDou table has a row of its own for every number the constellation
// gives out, C01 to C63, and no shared rows: a number above 63 has no row.
constexpr uint32_t kBeidouRows = 63;
// Every table is laid out for the largest of them.
constexpr uint32_t kMaxSatRows = kBeidouRows;
static_assert(kMaxSatRows >= kSatRows);

// Status values of a record.
constexpr uint16_t kStatusEmpty = 0;
constexpr uint16_t kStatusOutsideFit = 1;
constexpr uint16_t kStatusInFit = 2;
constexpr uint16_t kStatusStored = 3;
constexpr uint16_t kStatusUnhealthy = 8;

// The satellite table of GPS, and the base of the BeiDou and GLONASS tables:
// current and pending ephemeris of every row, their transmission times, the
// computed state, elevation and azimuth, and the last message taken for each
// row.
class CGpsNavState
{
public:
    // The GPS table: rows of their own for 1 to 32, three extended rows. Ages
    // are taken at `logTime`, elevations from `receiver`.
    CGpsNavState(const CLogTime& logTime, const CNavState& receiver);
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
    // Gives a number above the fixed rows one of the extended rows, at most
    // one per extended row and run.
    void RegisterExtendedPRN(uint32_t prn);
    // Recomputes elevation and azimuth of a satellite from its state.
    void UpdateElevation(uint32_t prn, bool fresh);
    // Evaluates a row's state polynomial at `seconds` into `out`: 2 when `out`
    // is filled, 0 when the row has no computed state. The week is not used.
    uint32_t PredictSatState(uint32_t prn, uint32_t week, double seconds, SSatState& out);

    // Rows 0 to m_uFixedRows - 1 belong to the numbers 1 to m_uFixedRows for
    // good; the rows from there to m_uRows - 1 are the extended rows.
    uint32_t m_uFixedRows;
    uint32_t m_uRows;
    SGpsEphemeris m_aEphemeris[kMaxSatRows];
    SGpsEphemeris m_aPendingEphemeris[kMaxSatRows];
    SSatState m_aSatState[kMaxSatRows];
    uint32_t m_auTxTime[kMaxSatRows];
    uint32_t m_auPendingTxTime[kMaxSatRows];
    double m_adElevation[kMaxSatRows];
    double m_adAzimuth[kMaxSatRows];
    uint32_t m_auTruePRN[kMaxSatRows];
    uint32_t m_uExtendedCount;
    uint8_t m_abExtendedUsed[kExtendedRows];
    uint8_t (*m_pMessageCache)[140]; // last BIN95 or BIN93 of each row

protected:
    // A table of `fixedRows` rows of their own and `extendedRows` shared
    // ones: at most kExtendedRows of these, and kMaxSatRows in all.
    CGpsNavState(const CLogTime& logTime, const CNavState& receiver, uint32_t fixedRows, uint32_t extendedRows);

    const CLogTime& m_LogTime;
    const CNavState& m_Receiver;
};

// The BeiDou table: a BeiDou record has the layout of a GPS record, and the
// table works as the GPS one, but every number from 1 to 63 has a row of its
// own and none is shared.
class CBeidouNavState : public CGpsNavState
{
public:
    CBeidouNavState(const CLogTime& logTime, const CNavState& receiver);

    // Numbers 1 to 63 are their rows; any other number has none.
    int32_t SatIndexFromPRN(int32_t prn) override;
};

// Compares the data words (3 to 10 of each subframe) of a cached BIN95 with
// those of a new one: 0 when they are alike, else not 0.
int CompareBin95(const uint8_t* cached, const uint8_t* message);

class CUtcState;
class CGlonassFrequencies;

// The GLONASS table: the inherited row tables serve the slots 1 to 24. Its
// records are timed with the run's UTC state, and a slot's first record sets
// the slot's carrier in `frequencies`.
class CGlonassNavState : public CGpsNavState
{
public:
    CGlonassNavState(const CLogTime& logTime, const CNavState& receiver, const CUtcState& utc,
                     CGlonassFrequencies& frequencies);
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

private:
    const CUtcState& m_Utc;
    CGlonassFrequencies& m_Frequencies;
};

// Where the receiver stands.
struct CNavState
{
    double m_adXyz[3];        // ECEF, metres
    double m_adLlh[3];        // latitude, longitude in radians; height in metres
    double m_adNeuMatrix[9];  // ECEF to north, east, up, by rows

    // Takes the run's location (`llh`: latitude and longitude in radians,
    // height in metres), or the default place without one.
    void Init(bool haveLocation, const double llh[3]);
};
