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

class ReactorAttributeBase {
 public:
   virtual void hasNotificationActiveIs( bool active ) = 0;
   virtual void zombieIs( bool zombie ) = 0;

 protected:
   ~ReactorAttributeBase() = default;
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
   template<class, class, class> friend class ReactorAttribute;

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
   explicit ReactorAttribute( Machine & machine ) : machine_( machine ) {
      static_cast<StateMachine &>( machine ).reactors_.push_back( this );
   }
   ReactorAttribute( ReactorAttribute const & ) = delete;
   ReactorAttribute & operator=( ReactorAttribute const & ) = delete;
   ~ReactorAttribute() { notifierDel(); }

   ReactorType * reactor() const { return reactor_.ptr(); }
   Ptr<Notifier> notifier() const { return reactor_ ? const_cast<Notifier *>( reactor_->notifier().ptr() ) : nullptr; }

   void notifierIs( Ptr<Notifier> const & notifier ) {
      if ( !notifier ) {
         notifierDel();
      } else if ( reactor_ ) {
         Ptr<ReactorType> const held = reactor_;
         held->notifierIs( Ptr<PtrInterface const>( notifier ) );
      } else {
         newReactor( notifier );
      }
   }
   /// Makes the reactor, in place of one that is there.
   Ptr<ReactorType> newReactor( Ptr<Notifier> const & notifier ) {
      Ptr<ReactorType> const made = new ReactorType( notifier, &machine_ );
      made->hasNotificationActiveIs( machine_.hasNotificationActive() );
      notifierDel();
      return reactor_ = made;
   }
   void notifierDel() {
      Ptr<ReactorType> const dropped = std::exchange( reactor_, nullptr );
      if ( !dropped ) return;
      dropped->vorZombieIs( true );
      dropped->notifierIs( Ptr<PtrInterface const>() );
   }

   void hasNotificationActiveIs( bool active ) override {
      if ( reactor_ ) reactor_->hasNotificationActiveIs( active );
   }
   void zombieIs( bool zombie ) override {
      if ( reactor_ ) reactor_->vorZombieIs( zombie );
   }

 private:
   Machine & machine_;
   Ptr<ReactorType> reactor_;
};

}   // namespace Vor
