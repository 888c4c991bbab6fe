#include "registers/RegisterReading.h"

namespace Host {

void RegisterReading::read( RegisterAccess & access ) {
   value = access.read( place );
   done = value.has_value();
   text = value ? place.fieldsText( *value ) : "no answer";
}

RegisterReading readingOf( RegisterPlace const & place, bool named ) {
   RegisterReading reading{ .place = place };
   if ( place.access == Hal::writeOnly_ ) reading.text = "not read: it can only be written";
   if ( place.access == Hal::readTakes_ && !named ) reading.text = "not read: reading takes an entry out";
   return reading;
}

std::vector<RegisterReading> readingsOf( RegisterBook const & book, std::vector<std::string> const & words ) {
   std::vector<RegisterReading> readings;
   for ( std::string const & word : words ) {
      std::vector<RegisterPlace> const places = book.range( word );
      bool const named = places.size() == 1;
      if ( named ) book.requireReadable( places.front() );
      for ( RegisterPlace const & place : places ) readings.push_back( readingOf( place, named ) );
   }
   return readings;
}

Input::Json jsonOf( RegisterReading const & reading ) {
   RegisterPlace const & place = reading.place;
   Input::Json object{ { "register", place.name }, { "address", place.address } };
   if ( place.chip ) object["chip"] = place.chip->name;
   if ( reading.written ) object["written"] = *reading.written;
   object["value"] = reading.value && reading.done ? Input::Json( *reading.value ) : Input::Json();
   object["text"] = reading.text;
   object["done"] = reading.done;
   return object;
}

RegisterReading readingOf( Input::Json const & json, Input::CardDescription const & card ) {
   RegisterReading reading;
   reading.place.name = json.at( "register" ).get<std::string>();
   reading.place.address = json.at( "address" ).get<U32>();
   if ( json.contains( "chip" ) ) reading.place.chip = card.max24305( json.at( "chip" ).get<std::string>() );
   if ( !json.at( "value" ).is_null() ) reading.value = json.at( "value" ).get<U32>();
   reading.text = json.at( "text" ).get<std::string>();
   reading.done = json.at( "done" ).get<bool>();
   return reading;
}

}   // namespace Host
