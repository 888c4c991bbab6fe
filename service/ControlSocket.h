// The agent's own socket: requests of its owner - set, call, peek, audit, role - which the loop answers between its
// turns. Everything that talks to the outside runs on a thread of the socket's own: it takes requests as values and
// hands answers on, and never touches an entity. Only the agent's owner may open it: the socket has mode 0600 in a
// folder of mode 0700, and the peer's credentials are checked.
//
// Requests and answers are lines of JSON. While the loop is busy the one who asks is told what he waits for, at once.
//
//    ControlSocket socket( path, pollSet, []( Input::Json const & request ) { return answerOf( request ); } );
//    socket.busyWith( "ptp0 is being brought up" );     // from the loop; empty between turns
//
//    {"do":"call","object":"/machine/ptp0","operation":"doProgramMax24305"}
//    {"waiting":"osc0 is being brought up"}             // any number of these
//    {"answer":{}}                                      // or {"refused":"why"}
//
// One request of a client is under way at a time; the next ones of his wait. All that waits is bounded: who sends more,
// or does not read what he is told, is cut off.
#pragma once

#include "input/Json.h"
#include "service/PollSet.h"

#include <functional>
#include <memory>
#include <string>

namespace Host {

class ControlSocket {
 public:
   static constexpr std::size_t lineMax = std::size_t{ 64 } << 10U;     ///< of a request, in bytes
   static constexpr std::size_t unreadMax = std::size_t{ 16 } << 20U;   ///< of what a client has not read
   static constexpr std::size_t clientsMax = 16;

   /// On the loop's thread, between turns. What it gives is handed to the one who asked; an exception is a refusal,
   /// with its text as the reason.
   using Answer = std::function<Input::Json( Input::Json const & request )>;

   /// Makes the folder where there is none. The set is waited on no more when this has gone. Throws Input::InputError
   /// where there can be no socket.
   ControlSocket( std::string const & path, PollSet & pollSet, Answer answer );
   ~ControlSocket();
   ControlSocket( ControlSocket const & ) = delete;
   ControlSocket & operator=( ControlSocket const & ) = delete;

   std::string const & path() const;
   void busyWith( std::string const & what );

 private:
   struct Shared;
   std::unique_ptr<Shared> const shared_;
};

/// Asks the agent whose socket this is. `waiting` is called with what it is busy with. Throws Input::InputError with
/// the reason where it refuses, and CardUnavailable where nobody answers.
Input::Json askAgent(
   std::string const & socket, Input::Json const & request,
   std::function<void( std::string const & )> const & waiting );

/// Whether an agent listens there.
bool agentListens( std::string const & socket );

}   // namespace Host
