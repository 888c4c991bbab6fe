// A recording as a page for a browser: one file, which needs no other and no network, to be attached to a ticket. Its
// template is diagnosis/page.html, which draws what it finds in its data.
//
//    Recording::Reader reader( "ptp.events" );
//    std::ofstream( "ptp.html" ) << Diagnosis::page( Host::historyOf( reader ), cause );
#pragma once

#include "input/Json.h"

#include <string>

namespace Diagnosis {

/// `cause` stands on top; nothing does where it is empty.
std::string page( Input::Json history, std::string const & cause );

}   // namespace Diagnosis
