// Text: `String`, the immutable `Name` that keys directories, printf-style `format`, and text for one line.
//
//    Vor::String text = Vor::format( "0x%x at 0x%x.", value, address );
//    Vor::Name name = "ptp0";                    // copies share one text
//    directory.max24305( name );                 // hashes once, at construction
#pragma once

#include "framework/PtrInterface.h"

#include <compare>
#include <iosfwd>
#include <string>
#include <string_view>

namespace Vor {

class String {
 public:
   using IteratorConst = std::string::const_iterator;

   String() = default;
   String( char const * text ) : text_( text ) {}
   String( char const * chars, std::size_t length ) : text_( chars, length ) {}
   String( std::string_view text ) : text_( text ) {}
   String( std::string text ) : text_( std::move( text ) ) {}

   /// The characters with a closing NUL; valid until the text changes.
   char const * charPtr() const { return text_.c_str(); }
   std::size_t size() const { return text_.size(); }
   bool empty() const { return text_.empty(); }
   std::string const & stdString() const { return text_; }
   operator std::string_view() const { return text_; }
   IteratorConst begin() const { return text_.begin(); }
   IteratorConst end() const { return text_.end(); }
   std::size_t hash() const { return std::hash<std::string>()( text_ ); }

   String & operator+=( std::string_view other ) {
      text_ += other;
      return *this;
   }
   friend String operator+( String left, String const & right ) { return std::move( left += right ); }
   friend bool operator==( String const &, String const & ) = default;
   friend std::strong_ordering operator<=>( String const & left, String const & right ) {
      return left.text_.compare( right.text_ ) <=> 0;
   }

 private:
   std::string text_;
};

std::ostream & operator<<( std::ostream & out, String const & text );

/// Immutable text whose copies share one allocation and one hash; the key of every directory.
class Name {
 public:
   Name() = default;
   Name( char const * text ) : Name( String( text ) ) {}
   Name( std::string const & text ) : Name( String( text ) ) {}
   Name( String const & text );

   String const & string() const;
   char const * charPtr() const { return string().charPtr(); }
   bool empty() const { return string().empty(); }
   std::size_t hash() const { return shared_ ? shared_->hash : String().hash(); }

   friend bool operator==( Name const & left, Name const & right ) {
      return left.shared_ == right.shared_ || left.string() == right.string();
   }
   friend std::strong_ordering operator<=>( Name const & left, Name const & right ) {
      return left.string() <=> right.string();
   }

 private:
   struct Shared final : PtrInterface {
      explicit Shared( String const & t ) : text( t ), hash( t.hash() ) {}
      String const text;
      std::size_t const hash;
   };
   Ptr<Shared const> shared_;   // empty for the empty name
};

std::ostream & operator<<( std::ostream & out, Name const & name );

/// printf conventions; the result has no length limit.
[[gnu::format( printf, 1, 2 )]] String format( char const * conversion, ... );

/// The text fit for one line of a terminal or a file: control characters and backslashes escaped in the way of C.
String oneLine( std::string_view text );

}   // namespace Vor

template<> struct std::hash<Vor::String> {
   std::size_t operator()( Vor::String const & text ) const { return text.hash(); }
};
template<> struct std::hash<Vor::Name> {
   std::size_t operator()( Vor::Name const & name ) const { return name.hash(); }
};
