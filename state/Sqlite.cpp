#include "state/Sqlite.h"

#include "framework/AttributeLog.h"

namespace State {

namespace {

// Another writer's turn takes milliseconds; who waits longer says so, and tries again.
constexpr int busyMs = 1000;

}   // namespace

SqliteFile::SqliteFile( std::string path, Use use ) : path_( std::move( path ) ) {
   sqlite3 * file = nullptr;
   // A reader has to write as well: its place in the index of what was not yet put into the file.
   int const flags = SQLITE_OPEN_READWRITE | ( use == Use::write ? SQLITE_OPEN_CREATE : 0 );
   int const opened = sqlite3_open_v2( path_.c_str(), &file, flags | SQLITE_OPEN_NOMUTEX, nullptr );
   file_.reset( file );
   if ( opened != SQLITE_OK ) fail();
   sqlite3_busy_timeout( file, busyMs );
   if ( use == Use::read ) run( "PRAGMA query_only = ON" );
}

void SqliteFile::run( char const * statements ) {
   if ( sqlite3_exec( file_.get(), statements, nullptr, nullptr, nullptr ) != SQLITE_OK ) fail();
}

void SqliteFile::fail() const {
   throw Vor::LogUnavailableException( "the state log " + path_ + ": " + sqlite3_errmsg( file_.get() ) );
}

SqliteStatement::SqliteStatement( SqliteFile const & file, char const * text ) : file_( &file ) {
   sqlite3_stmt * statement = nullptr;
   check( sqlite3_prepare_v3( file.get(), text, -1, SQLITE_PREPARE_PERSISTENT, &statement, nullptr ) );
   statement_.reset( statement );
}

SqliteStatement & SqliteStatement::number( U64 value ) {
   check( sqlite3_bind_int64( statement_.get(), ++bound_, static_cast<sqlite3_int64>( value ) ) );
   return *this;
}

// What is bound lives until the statement has run.
SqliteStatement & SqliteStatement::text( std::string_view value ) {
   char const * const chars = value.empty() ? "" : value.data();
   check( sqlite3_bind_text64( statement_.get(), ++bound_, chars, value.size(), SQLITE_STATIC, SQLITE_UTF8 ) );
   return *this;
}

SqliteStatement & SqliteStatement::bytes( std::string_view value ) {
   char const * const chars = value.empty() ? "" : value.data();
   check( sqlite3_bind_blob64( statement_.get(), ++bound_, chars, value.size(), SQLITE_STATIC ) );
   return *this;
}

bool SqliteStatement::step() {
   int const result = sqlite3_step( statement_.get() );
   if ( result == SQLITE_ROW ) return true;
   std::string const words = sqlite3_errmsg( file_->get() );
   reset();
   if ( result != SQLITE_DONE ) throw Vor::LogUnavailableException( "the state log " + file_->path() + ": " + words );
   return false;
}

void SqliteStatement::run() {
   while ( step() ) {
   }
}

void SqliteStatement::reset() {
   sqlite3_reset( statement_.get() );
   bound_ = 0;
}

U64 SqliteStatement::numberAt( int column ) const {
   return static_cast<U64>( sqlite3_column_int64( statement_.get(), column ) );
}

std::string_view SqliteStatement::bytesAt( int column ) const {
   auto const * const bytes = static_cast<char const *>( sqlite3_column_blob( statement_.get(), column ) );
   return {
      bytes == nullptr ? "" : bytes, static_cast<std::size_t>( sqlite3_column_bytes( statement_.get(), column ) ) };
}

void SqliteStatement::check( int result ) const {
   if ( result != SQLITE_OK ) file_->fail();
}

}   // namespace State
