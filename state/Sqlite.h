// SQLite as far as it is needed here: a file that is open, statements, a transaction. Errors are told as
// Vor::LogUnavailableException, with the file and SQLite's words.
#pragma once

#include "framework/Types.h"

#include <sqlite3.h>

#include <memory>
#include <string>
#include <string_view>

namespace State {

class SqliteFile {
 public:
   enum class Use { read, write };

   /// Makes the file where it is to be written.
   SqliteFile( std::string path, Use use );

   void run( char const * statements );
   sqlite3 * get() const { return file_.get(); }
   std::string const & path() const { return path_; }
   [[noreturn]] void fail() const;

 private:
   struct Close {
      void operator()( sqlite3 * file ) const { sqlite3_close_v2( file ); }
   };
   std::string const path_;
   std::unique_ptr<sqlite3, Close> file_;
};

/// Used again and again: values are put in their order, then it is run, or stepped through.
class SqliteStatement {
 public:
   SqliteStatement( SqliteFile const & file, char const * text );

   SqliteStatement & number( U64 value );
   SqliteStatement & text( std::string_view value );
   SqliteStatement & bytes( std::string_view value );

   /// Whether there is a row; where there is none, the statement can be used again.
   bool step();
   void run();
   void reset();

   U64 numberAt( int column ) const;
   /// Valid until the next step.
   std::string_view bytesAt( int column ) const;

 private:
   void check( int result ) const;

   struct Finalize {
      void operator()( sqlite3_stmt * statement ) const { sqlite3_finalize( statement ); }
   };
   SqliteFile const * file_;
   std::unique_ptr<sqlite3_stmt, Finalize> statement_;
   int bound_ = 0;
};

/// Rolled back unless it is committed.
class SqliteTransaction {
 public:
   SqliteTransaction( SqliteFile & file, char const * begin ) : file_( file ) { file_.run( begin ); }
   ~SqliteTransaction() {
      if ( open_ ) sqlite3_exec( file_.get(), "ROLLBACK", nullptr, nullptr, nullptr );
   }
   SqliteTransaction( SqliteTransaction const & ) = delete;
   SqliteTransaction & operator=( SqliteTransaction const & ) = delete;

   void commit() {
      file_.run( "COMMIT" );
      open_ = false;
   }

 private:
   SqliteFile & file_;
   bool open_ = true;
};

}   // namespace State
