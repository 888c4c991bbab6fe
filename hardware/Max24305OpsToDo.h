// The queue of operations that a MAX24305 is programmed with, as its configuration and its inventory record both carry
// it: the queue itself, its bookkeeping, and their notifications.
//
//    config->opsToDoEnq( Op( 1, write_, 0x10, 0x3c ) );      // index 0, notified as onOpsToDo( 0 )
//    for ( auto const & element : config->opsToDo() )
//       run( element.value() );
#pragma once

#include "framework/Entity.h"
#include "framework/LinkQueue.h"
#include "hardware/Max24305Op.h"

#include <vector>

namespace Hardware::Max24305 {

/// The queue's first index and its next-index counter, as they are replicated together with the queue.
class OpsToDoMetadata {
 public:
   OpsToDoMetadata() = default;
   OpsToDoMetadata( U32 first, U32 next ) : firstIndex( first ), nextIndex( next ) {}
   /// Reads the text form OpsToDoMetadata(FIRST, NEXT).
   OpsToDoMetadata( Vor::String::IteratorConst & pos, Vor::String::IteratorConst const & end );

   U32 firstIndex = 0;
   U32 nextIndex = 0;

   using Attributes = Vor::Attributes<
      Vor::Member<"firstIndex", &OpsToDoMetadata::firstIndex>, Vor::Member<"nextIndex", &OpsToDoMetadata::nextIndex>>;

   friend bool operator==( OpsToDoMetadata const &, OpsToDoMetadata const & ) = default;
   friend Vor::String valueToStrep( OpsToDoMetadata const & metadata );
};

/// Base of the entity type `Self`, whose list names the attributes opsToDo and opsToDoMetadata.
template<class Self> class WithOpsToDo : public Vor::EntityOf<Self> {
 public:
   using Queue = Vor::LinkQueue<Op>;
   using OpsToDoMetadata = Max24305::OpsToDoMetadata;
   using Vor::EntityOf<Self>::EntityOf;

   Queue const & opsToDo() const { return opsToDo_; }
   Vor::Ptr<Queue::Element const> opsToDoHead() const { return opsToDo_.head(); }

   /// Appends at the next index. Throws RangeException when the index space is used up.
   void opsToDoEnq( Op const & op ) { notify( opsToDo_.enq( op ) ); }
   /// Removes and returns the operation of the lowest index; a default one, silently, when there is none.
   Op opsToDoDeq() {
      Vor::Ptr<Queue::Element const> const head = opsToDo_.head();
      if ( !head ) return Op();
      opsToDoDel( head->index() );
      return head->value();
   }
   /// Places the operation at the index, in place of one that is there. Throws as opsToDoEnq does.
   void opsToDoIs( U32 index, Op const & op ) {
      opsToDo_.valueIs( index, op );
      notify( index );
   }
   void opsToDoDel( U32 index ) {
      if ( opsToDo_.valueDel( index ) ) notify( index );
   }
   /// Removes the operation that a walk stands on; the walk goes on behind it.
   void opsToDoDel( Queue::Iterator const & place ) { opsToDoDel( place->index() ); }
   /// Removes every operation that stands there now, each once, from the head on. What observers add meanwhile stays,
   /// also at an index that has just become free.
   void opsToDoDelAll() {
      Vor::Ptr<Vor::PtrInterface const> const held = this->vorHeld();
      std::vector<Vor::Ptr<Queue::Element const>> standing;
      for ( Queue::Element const & element : opsToDo_ ) standing.push_back( &element );
      for ( auto const & element : standing )
         if ( opsToDo_.element( element->index() ) == element ) opsToDoDel( element->index() );
   }

   OpsToDoMetadata const & opsToDoMetadata() const { return opsToDoMetadata_; }
   /// Tells its observers also of an equal value: who replicates the queue relies on it.
   void opsToDoMetadataIs( OpsToDoMetadata const & metadata ) {
      opsToDoMetadata_ = metadata;
      this->template attributeNotify<"opsToDoMetadata">();
   }

 protected:
   // The two entries of the type's attribute list.
   template<class NotifieeConst>
   using OpsToDoAttribute = Vor::Collection<
      "opsToDo", &WithOpsToDo::opsToDo, &WithOpsToDo::opsToDoIs,
      static_cast<void ( WithOpsToDo::* )( U32 )>( &WithOpsToDo::opsToDoDel ), NotifieeConst, U32,
      &NotifieeConst::onOpsToDo, &NotifieeConst::onOpsToDo>;
   template<class NotifieeConst>
   using OpsToDoMetadataAttribute = Vor::Changeable<
      "opsToDoMetadata", &WithOpsToDo::opsToDoMetadata, &WithOpsToDo::opsToDoMetadataIs,
      &NotifieeConst::onOpsToDoMetadata>;

 private:
   void notify( U32 index ) { this->template attributeNotify<"opsToDo">( index ); }

   Queue opsToDo_;
   OpsToDoMetadata opsToDoMetadata_;
};

}   // namespace Hardware::Max24305
