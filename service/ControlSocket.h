// The agent's own socket: requests of its owner - set, call, peek, audit, role - which the loop answers between its
// turns. Everything that talks to the outside runs on a thread of the socket's own: it takes requests as values and
// hands answers on, and never touches an entity. Only the agent's owner may open it: the socket has mode 0600 in a
// folder of mode 0700, and the peer's credentials are checked.
//
// Requests and answers are lines of JSON. While the loop is busy the one who asks is told what he waits for, at once.
//
//    ControlSocket socket( path, pollSet, []( Input::Json const & request ) { return answerOf( request ); } );
//    socket.busyWith( "ptp0 is being brought up" );     // from the loop; empty between turns
#pragma once

#include "input/Json.h"
#include "service/PollSet.h"

#include <functional>
#include <memory>
#include <string>

namespace Host {

class ControlSocket {
 public:
   /// On the loop's thread, between turns. What it gives is handed to the one who asked; an exception is a refusal,
   /// with its text as the reason.
   using Answer = std::function<Input::Json( Input::Json const & request )>;

   /// Throws Input::InputError where there can be no socket.
   ControlSocket( std::string const & path, PollSet & pollSet, Answer answer );
   ~ControlSocket();
   ControlSocket( ControlSocket const & ) = delete;
   ControlSocket & operator=( ControlSocket const & ) = delete;

   std::string const & path() const;
   void busyWith( std::string const & what );

   /// Where the sockets of this user's agents stand: a folder of the service manager's, of the user's session, or
   /// beside other temporary files.
   static std::string usualFolder();

 private:
   struct Shared;
   std::unique_ptr<Shared> const shared_;
};

/// Asks the agent whose socket this is. `waiting` is called with what it is busy with. Throws Input::InputError with
/// the reason where it refuses, and CardUnavailable where nobody answers.
Input::Json askAgent(
   std::string const & socket, Input::Json const & request,
   std::function<void( std::string const & )> const & waiting );

}   // namespace Host
