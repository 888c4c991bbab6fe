// A recording as signals over time, in the form that waveform viewers and logic analysers' programs read (VCD, with a
// step of 1 ns): for each MAX24305 the four wires of its SPI bus, whether each APLL was found locked, and the states of
// chip and clock as a wire for each value; the states of each Tolvane; the reset outputs, 1 while active.
//
//    Recording::Reader recording( "ptp.events" );
//    Diagnosis::writeWaveform( recording, file );
//
// A recording has words and transactions and no edges: these are reconstructed, at the SPI clock of the description.
#pragma once

#include "recording/Reader.h"

#include <iosfwd>

namespace Diagnosis {

/// Reads the events to come.
void writeWaveform( Recording::Reader & recording, std::ostream & out );

}   // namespace Diagnosis
