// Card descriptions for tests.
#pragma once

#include "input/CardDescription.h"
#include "input/Json.h"

#include <string>

namespace Input {

inline std::string const shortSequence =
   R"json(["Value('Hardware::Max24305::Op', ** {'key': 0, 'type': 'read', 'address': 48, 'value': 94})",
       "Value('Hardware::Max24305::Op', ** {'key': 1, 'type': 'write', 'address': 16, 'value': 60})",
       "Value('Hardware::Max24305::Op', ** {'key': 2, 'type': 'read', 'address': 16, 'value': 60})"])json";

/// A Tolvane osc0 that feeds ptp0, and ptp1 on a stuffed clock.
inline std::string const wholeCard = R"({
   "access": { "kind": "simulated" }, "genId": 7, "slotId": 3,
   "gpos": [ { "name": "osc0Reset", "offset": 8192, "bit": 0 },
             { "name": "ptp0Reset", "offset": 8192, "bit": 1, "activeType": "activeLow" },
             { "name": "ptp1Reset", "offset": 8196, "bit": 31 } ],
   "chips": [ { "kind": "max24305", "name": "ptp0", "configOffset": 256, "statusOffset": 512,
                "resetGpoName": "ptp0Reset", "input": "tolvane", "outputFrequencyInHz": 10000000,
                "spiResetSupported": true, "sequence": )" +
                                     shortSequence + R"( },
              { "kind": "tolvane", "name": "osc0", "offset": 12288, "resetGpoName": "osc0Reset" },
              { "kind": "max24305", "name": "ptp1", "configOffset": 1024, "statusOffset": 1280,
                "resetGpoName": "ptp1Reset", "input": "stuffedClock", "role": "unknown",
                "programSeq": "mClkIn25_oc1Out10", "spiResetSupported": false, "sequence": [] } ] })";

inline CardDescription cardOf( std::string const & content ) {
   Input::JsonDocument const file( "card.json", content );
   return cardDescription( file.root() );
}

/// The content with one piece replaced; the piece must be there.
inline std::string with( std::string content, std::string const & piece, std::string const & other ) {
   std::size_t const at = content.find( piece );
   return at == std::string::npos ? "no such piece: " + piece : content.replace( at, piece.size(), other );
}

}   // namespace Input
