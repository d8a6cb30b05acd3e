#pragma once

#include <array>
#include <string>
#include <vector>

#include "logbuild/FrameWriter.h"
#include "logbuild/RinexObsReader.h"

// What the receiver says of its site and position, from the observation
// file's header: its site sentences and the marker site frame in front of
// the first epoch, a $GPGGA at each epoch.
namespace fromrinex
{
// $>JSITERECORD (marker name, antenna deltas and type), $>JI (receiver
// number and version), $>JT (receiver type), each with its line end.
std::vector<std::string> SiteSentences(const SRinexObsHeader& header);

// The site frame of class 1 with the marker name and number.
Bytes MakeMarkerFrame(const SRinexObsHeader& header);

// WGS-84 latitude and longitude in degrees and height in metres.
std::array<double, 3> EcefToLlh(const std::array<double, 3>& xyz);

// $GPGGA at `utcTotal` (UTC seconds counted in GPS weeks) with `satellites`
// in use, checksum and line end included.
std::string GgaSentence(double utcTotal, const std::array<double, 3>& llh, int satellites);
} // namespace fromrinex
