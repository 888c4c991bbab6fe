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

class Style {
 public:
   explicit Style( bool colour ) : colour_( colour ) {}

   bool colour() const { return colour_; }
   std::string good( std::string_view text ) const { return painted( "32", text ); }
   std::string bad( std::string_view text ) const { return painted( "31", text ); }
   std::string busy( std::string_view text ) const { return painted( "33", text ); }
   std::string quiet( std::string_view text ) const { return painted( "2", text ); }
   std::string strong( std::string_view text ) const { return painted( "1", text ); }

 private:
   std::string painted( char const * code, std::string_view text ) const;

   bool colour_;
};

/// Colour when the descriptor is a terminal and NO_COLOR is not set, or set to nothing.
Style styleOf( int descriptor );

/// How many columns a text takes, colour left out of account.
std::size_t shownWidth( std::string_view text );

/// The text with blanks behind it up to a width.
std::string padded( std::string_view text, std::size_t width );

class Table {
 public:
   explicit Table( std::vector<std::string> head ) : rows_{ std::move( head ) } {}
   void rowAdd( std::vector<std::string> row ) { rows_.push_back( std::move( row ) ); }

   /// One line a row; columns as wide as their widest cell, two blanks between them.
   std::string text( Style const & style ) const;

 private:
   std::vector<std::vector<std::string>> rows_;
};

}   // namespace Host
