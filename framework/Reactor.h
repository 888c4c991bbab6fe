// Reactors: how a state machine watches entities.
//
// A machine holds one reactor per entity it watches, in a ReactorAttribute. A reactor's callback is a line: it calls
// one step of its machine. The rules that every reactor shares stand here:
// - it attaches silently when it is made, and is live only once its machine's notification is switched on;
// - a zombie, whose machine is being torn down, is never called (framework/Notifiee.h);
// - its machine is held while a step runs, so that an observer may drop the last reference to it meanwhile;
// - setting the notifier it has does nothing, setting none deletes it, another one re-points it, and a new reactor
//   takes over its machine's notification flag.
//
//    class Machine : public Vor::StateMachine {
//       class VorStatus final : public Vor::Reactor<Status::NotifieeConst, Machine> {
//          using Reactor::Reactor;
//          void onState() override { react( &Machine::handleEnvironmentChanges ); }
//       };
//       Vor::ReactorAttribute<VorStatus, Status const, Machine> status_{ *this };
#pragma once

#include "framework/Notifiee.h"

#include <vector>

namespace Vor {

class Activity;

class StateMachine;

/// What every reactor attribute does, whatever it watches.
class ReactorAttributeBase {
 public:
   ReactorAttributeBase( ReactorAttributeBase const & ) = delete;
   ReactorAttributeBase & operator=( ReactorAttributeBase const & ) = delete;
   ~ReactorAttributeBase() { notifierDel(); }

   void notifierDel();

 protected:
   explicit ReactorAttributeBase( StateMachine & machine );

   /// Points the reactor that is there at another notifier; a null one deletes it.
   void pointTo( Ptr<PtrInterface const> const & notifier );
   /// Puts a reactor in the place of one that is there.
   void reactorIs( Ptr<NotifieeBase> const & made );

   StateMachine & machine_;
   Ptr<NotifieeBase> reactor_;

 private:
   friend StateMachine;
};

/// Base of the state machines: switches its reactors, in the order in which they are declared.
class StateMachine : public PtrInterface {
 public:
   bool hasNotificationActive() const { return notificationActive_; }
   /// Switches the delivery of every reactor there is; an unchanged value does nothing.
   void hasNotificationActiveIs( bool active ) override;

   /// Hands the zombie flag to every reactor there is.
   virtual void vorDoZombieReactors( bool zombie );

   /// The activity that a machine runs in; it owns none: everything happens in its callers' dispatch.
   Activity * vorFwkActivity() const { return nullptr; }

   /// No reactor runs any more once the last reference has gone.
   void zeroReferencesIs( bool zero ) override;

 private:
   friend ReactorAttributeBase;

   std::vector<ReactorAttributeBase *> reactors_;
   bool notificationActive_ = false;
};

template<class Notifiee, class Machine> class Reactor : public Notifiee {
 public:
   /// Attaches to the notifier; the machine owns this reactor and outlives it.
   template<class Notifier> Reactor( Ptr<Notifier> const & notifier, Machine * machine ) : machine_( machine ) {
      this->hasNotificationActiveIs( false );
      this->vorAttach( notifier );
   }

   void notifierIs( Ptr<PtrInterface const> const & notifier ) override {
      if ( notifier.ptr() == this->vorNotifier() ) return;
      Notifiee::notifierIs( notifier );
      if ( this->vorNotifier() && !this->vorZombie() ) onNotifier();
   }

 protected:
   /// Called after the reactor was pointed at another notifier.
   virtual void onNotifier() {}

   template<class Step, class... Arguments> void react( Step step, Arguments const &... arguments ) {
      // Without references the machine is in its constructor, where nobody can drop it.
      Ptr<Machine> const held( machine_->references() > 0 ? machine_ : nullptr );
      ( machine_->*step )( arguments... );
   }

 private:
   Machine * const machine_;
};

/// The attribute that holds a reactor on a `Notifier`; declared in the machine, in the order of its attributes.
template<class ReactorType, class Notifier, class Machine> class ReactorAttribute final : public ReactorAttributeBase {
 public:
   explicit ReactorAttribute( Machine & machine ) : ReactorAttributeBase( machine ) {}

   ReactorType * reactor() const { return static_cast<ReactorType *>( reactor_.ptr() ); }
   Ptr<Notifier> notifier() const { return reactor_ ? const_cast<Notifier *>( reactor()->notifier().ptr() ) : nullptr; }

   void notifierIs( Ptr<Notifier> const & notifier ) {
      if ( notifier && !reactor_ )
         newReactor( notifier );
      else
         pointTo( notifier );
   }
   /// Makes the reactor, in place of one that is there.
   Ptr<ReactorType> newReactor( Ptr<Notifier> const & notifier ) {
      Ptr<ReactorType> const made = new ReactorType( notifier, static_cast<Machine *>( &machine_ ) );
      reactorIs( made );
      return made;
   }
};

}   // namespace Vor
