// How the command's output looks: colour on a terminal that wants it, and tables with aligned columns.
//
//    Style const style = styleOf( STDOUT_FILENO );
//    out << style.good( "ready" );
//    Table table( { "Chip", "State" } );
//    table.rowAdd( { "ptp0", style.good( "ready" ) } );
//    out << table.text( style );
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace Host {

/// What is said of a text by its colour.
enum class Tone { plain_, good_, bad_, busy_, quiet_, strong_ };

class Style {
 public:
   explicit Style( bool colour ) : colour_( colour ) {}

   bool colour() const { return colour_; }
   std::string painted( Tone tone, std::string_view text ) const;
   std::string good( std::string_view text ) const { return painted( Tone::good_, text ); }
   std::string bad( std::string_view text ) const { return painted( Tone::bad_, text ); }
   std::string busy( std::string_view text ) const { return painted( Tone::busy_, text ); }
   std::string quiet( std::string_view text ) const { return painted( Tone::quiet_, text ); }
   std::string strong( std::string_view text ) const { return painted( Tone::strong_, text ); }

 private:
   bool colour_;
};

/// Colour when the descriptor is a terminal and NO_COLOR is not set, or set to nothing.
Style styleOf( int descriptor );

/// How many columns a text takes, colour left out of account.
std::size_t shownWidth( std::string_view text );

/// How many columns a line of output has at most.
inline constexpr std::size_t lineWidth = 100;

/// The text in rows of at most `width` columns, broken between words, behind a semicolon or else a comma where that
/// leaves half a row; a word that is longer is cut.
std::vector<std::string> wrapped( std::string_view text, std::size_t width );

/// The text with blanks behind it up to a width.
std::string padded( std::string_view text, std::size_t width );

class Table {
 public:
   explicit Table( std::vector<std::string> head ) : rows_{ std::move( head ) } {}
   void rowAdd( std::vector<std::string> row ) { rows_.push_back( std::move( row ) ); }

   /// Columns as wide as their widest cell, two blanks between them. Where that is wider than a line, the cells of the
   /// widest columns are wrapped.
   std::string text( Style const & style ) const;

 private:
   std::vector<std::vector<std::string>> rows_;
};

}   // namespace Host
