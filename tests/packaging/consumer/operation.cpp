// Uses the library: an operation printed and parsed back, and a status watched by an observer of the consumer's own.
#include <clockpath/hardware/Max24305Op.h>
#include <clockpath/hardware/Max24305Status.h>

#include <iostream>

namespace Chip = Hardware::Max24305;

namespace {

struct Watcher : Chip::Status::NotifieeConst {
   explicit Watcher( Vor::Ptr<Chip::Status const> const & status ) : status_( status.ptr() ) { notifierIs( status ); }
   void onState() override { seen = stringValue( status_->state() ); }
   Chip::Status const * status_;
   Vor::String seen;
};

}   // namespace

int main() {
   Vor::String const text =
      "Value('Hardware::Max24305::Op', ** {'key': 5, 'type': 'write', 'address': 0, 'value': 60})";
   Vor::String::IteratorConst pos = text.begin();
   Chip::Op const op( pos, text.end() );
   bool const parsed = op == Chip::Op( 5, Chip::write_, 0, 60 ) && pos == text.end();
   Vor::String const printed = valueToStrep( op );

   Vor::Ptr<Chip::Status> const status = Chip::statusFactory( "ptp0", Fru::GenerationId{ 1 }, Chip::timeSync_ );
   Vor::Ptr<Watcher> const watcher = new Watcher( status );
   status->stateIs( Chip::ready_ );

   std::cout << printed << '\n' << status->name() << " is " << watcher->seen << '\n';
   return parsed && printed == text && watcher->seen == "ready" ? 0 : 1;
}
