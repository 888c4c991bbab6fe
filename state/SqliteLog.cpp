#include "state/SqliteLog.h"

#include "input/InputError.h"
#include "state/Doorbell.h"
#include "state/Sqlite.h"
#include "state/Succession.h"

namespace State {

namespace {

// "CLKP", and the version of these tables.
constexpr U64 applicationId = 0x434C4B50;
constexpr U64 tablesVersion = 1;

char const * const makeTables = R"(
   CREATE TABLE writer( generation INTEGER NOT NULL, number INTEGER NOT NULL );
   INSERT INTO writer VALUES( 0, 0 );
   CREATE TABLE entity( place INTEGER PRIMARY KEY, name TEXT NOT NULL UNIQUE, type TEXT NOT NULL,
      collection TEXT NOT NULL, parameters BLOB NOT NULL );
   CREATE TABLE state( entity INTEGER NOT NULL, attribute TEXT NOT NULL, key BLOB NOT NULL, value BLOB NOT NULL,
      PRIMARY KEY( entity, attribute, key ) ) WITHOUT ROWID;
   CREATE TABLE log( generation INTEGER NOT NULL, number INTEGER NOT NULL, whole INTEGER NOT NULL,
      batch BLOB NOT NULL, PRIMARY KEY( generation, number ) ) WITHOUT ROWID;
   CREATE VIEW attributes AS SELECT name, attribute, hex( key ) AS key, hex( value ) AS value
      FROM state JOIN entity ON entity = place ORDER BY place, attribute;
   PRAGMA application_id = 0x434C4B50;
   PRAGMA user_version = 1;
)";

std::string bellsOf( std::string const & path ) { return path + ".readers"; }

[[noreturn]] void throwForeign( std::string const & path, std::string const & what ) {
   throw Input::InputError(
      path + ": expected a state log of this release, there is " + what + "; name another file, or remove this one" );
}

U64 numberOf( SqliteFile const & file, char const * question ) {
   SqliteStatement statement( file, question );
   return statement.step() ? statement.numberAt( 0 ) : 0;
}

// Whether the file is empty still.
bool isNewLog( SqliteFile const & file ) {
   if ( numberOf( file, "SELECT count(*) FROM sqlite_schema" ) == 0 ) return true;
   if ( numberOf( file, "PRAGMA application_id" ) != applicationId ) throwForeign( file.path(), "another database" );
   U64 const version = numberOf( file, "PRAGMA user_version" );
   if ( version != tablesVersion )
      throwForeign(
         file.path(),
         "one of version " + std::to_string( version ) + " in place of " + std::to_string( tablesVersion ) );
   return false;
}

SqliteFile openedLogFile( std::string const & path, SqliteFile::Use use ) {
   SqliteFile file( path, use );
   try {
      if ( use == SqliteFile::Use::write ) {
         file.run( "PRAGMA journal_mode = WAL; PRAGMA synchronous = NORMAL" );
         SqliteTransaction transaction( file, "BEGIN IMMEDIATE" );
         if ( isNewLog( file ) ) file.run( makeTables );
         transaction.commit();
      } else if ( isNewLog( file ) ) {
         throw Vor::LogUnavailableException( "the state log " + path + " is empty still" );
      }
   } catch ( Vor::LogUnavailableException const & ) {
      if ( sqlite3_errcode( file.get() ) == SQLITE_NOTADB ) throwForeign( path, "no database" );
      throw;
   }
   return file;
}

Vor::LogPosition positionOf( SqliteStatement & statement ) {
   return { static_cast<U32>( statement.numberAt( 0 ) ), statement.numberAt( 1 ) };
}

Vor::LogPosition endOf( SqliteStatement & end ) {
   Vor::LogPosition const position = end.step() ? positionOf( end ) : Vor::LogPosition{};
   end.reset();
   return position;
}

constexpr char const * endQuestion = "SELECT generation, number FROM writer";

}   // namespace

struct SqliteLog::Statements {
   explicit Statements( std::string const & path )
      : file( openedLogFile( path, SqliteFile::Use::write ) ), ringer( bellsOf( path ) ) {}

   SqliteFile file;
   Bellringer const ringer;
   SqliteStatement end{ file, endQuestion };
   SqliteStatement endIs{ file, "UPDATE writer SET generation = ?, number = ?" };
   SqliteStatement logAdd{ file, "INSERT INTO log VALUES( ?, ?, ?, ? )" };
   SqliteStatement logDel{ file, "DELETE FROM log WHERE generation = ? AND number <= ?" };
   SqliteStatement entityAdd{ file, "INSERT INTO entity( name, type, collection, parameters ) VALUES( ?, ?, ?, ? )" };
   SqliteStatement entityDel{ file, "DELETE FROM entity WHERE name = ?" };
   SqliteStatement stateDel{ file, "DELETE FROM state WHERE entity = ( SELECT place FROM entity WHERE name = ? )" };
   SqliteStatement change{
      file, "INSERT INTO state SELECT place, ?2, ?3, ?4 FROM entity WHERE name = ?1"
            " ON CONFLICT DO UPDATE SET value = excluded.value" };
   SqliteStatement erase{
      file, "DELETE FROM state WHERE entity = ( SELECT place FROM entity WHERE name = ? )"
            " AND attribute = ? AND key = ?" };
};

SqliteLog::SqliteLog( std::string const & path, U64 turnsMax )
   : do_( std::make_unique<Statements>( path ) ), turnsMax_( turnsMax ), safe_( end() ) {}

SqliteLog::~SqliteLog() = default;

Vor::LogPosition SqliteLog::end() { return endOf( do_->end ); }

void SqliteLog::append( Vor::LogTurn const & turn ) {
   SqliteTransaction transaction( do_->file, "BEGIN IMMEDIATE" );
   Vor::LogPosition const last = end();
   if ( turn.position == last && last == tried_ ) return;   // it was committed, and only said not to be
   if ( !Vor::mayFollow( last, turn ) ) throwStale( last, turn.position );
   tried_ = turn.position;
   auto const [generation, number] = turn.position;
   if ( turn.whole ) clear();
   for ( Vor::LogEntry const & entry : turn.batch ) apply( entry );
   // Nobody adds a whole turn to what he has: that it was one is enough.
   std::string_view const kept = turn.whole ? std::string_view() : turn.batch.bytes();
   do_->logAdd.number( generation ).number( number ).number( turn.whole ? 1 : 0 ).bytes( kept ).run();
   if ( number > turnsMax_ ) do_->logDel.number( generation ).number( number - turnsMax_ ).run();
   do_->endIs.number( generation ).number( number ).run();
   transaction.commit();
   safe_ = turn.position;
   tried_ = {};
   do_->ringer.ring();
}

void SqliteLog::clear() { do_->file.run( "DELETE FROM log; DELETE FROM state; DELETE FROM entity" ); }

void SqliteLog::apply( Vor::LogEntry const & entry ) {
   using Kind = Vor::LogEntry::Kind;
   switch ( entry.kind ) {
   case Kind::create:
      do_->stateDel.text( entry.entity ).run();
      do_->entityDel.text( entry.entity ).run();
      do_->entityAdd.text( entry.entity ).text( entry.type ).text( entry.attribute ).bytes( entry.value ).run();
      break;
   case Kind::change:
      do_->change.text( entry.entity ).text( entry.attribute ).bytes( entry.key ).bytes( entry.value ).run();
      break;
   case Kind::erase:
      do_->erase.text( entry.entity ).text( entry.attribute ).bytes( entry.key ).run();
      break;
   case Kind::remove:
      do_->stateDel.text( entry.entity ).run();
      do_->entityDel.text( entry.entity ).run();
      break;
   }
}

struct SqliteSource::Statements {
   explicit Statements( std::string const & path )
      : file( openedLogFile( path, SqliteFile::Use::read ) ), bell( bellsOf( path ) ) {}

   SqliteFile file;
   Doorbell const bell;
   SqliteStatement end{ file, endQuestion };
   SqliteStatement entities{ file, "SELECT name, type, collection, parameters FROM entity ORDER BY place" };
   SqliteStatement state{
      file, "SELECT name, attribute, key, value FROM entity JOIN state ON entity = place"
            " ORDER BY place, attribute, key" };
   SqliteStatement next{
      file, "SELECT generation, number, whole, batch FROM log"
            " WHERE ( generation, number ) > ( ?, ? ) ORDER BY generation, number LIMIT 1" };
};

SqliteSource::SqliteSource( std::string const & path ) : do_( std::make_unique<Statements>( path ) ) {}

SqliteSource::~SqliteSource() = default;

Vor::LogPosition SqliteSource::snapshot( Vor::LogBatch & all ) {
   using Kind = Vor::LogEntry::Kind;
   all.clear();
   SqliteTransaction transaction( do_->file, "BEGIN" );
   Vor::LogPosition const position = endOf( do_->end );
   SqliteStatement & entity = do_->entities;
   while ( entity.step() )
      all.entryAdd(
         { Kind::create, entity.bytesAt( 0 ), entity.bytesAt( 1 ), entity.bytesAt( 2 ), {}, entity.bytesAt( 3 ) } );
   SqliteStatement & state = do_->state;
   while ( state.step() )
      all.entryAdd(
         { Kind::change, state.bytesAt( 0 ), {}, state.bytesAt( 1 ), state.bytesAt( 2 ), state.bytesAt( 3 ) } );
   transaction.commit();
   return position;
}

Vor::LogSource::Got SqliteSource::next( Vor::LogPosition after, Vor::LogBatch & into, Vor::LogPosition & last ) {
   auto const found = [&] { return do_->next.number( after.generation ).number( after.number ).step(); };
   if ( !found() ) {
      // Who rings after this hush has committed something that the second look does not miss.
      do_->bell.hush();
      if ( !found() ) return Got::nothing;
   }
   struct Reset {
      ~Reset() { statement.reset(); }
      SqliteStatement & statement;
   } const atEnd{ do_->next };
   Vor::LogPosition const position = positionOf( do_->next );
   Got const got = gotAfter( after, position, do_->next.numberAt( 2 ) != 0 );
   if ( got != Got::turn ) return got;
   into.bytesIs( do_->next.bytesAt( 3 ) );
   last = position;
   return got;
}

int SqliteSource::wakeFd() const { return do_->bell.fd(); }

}   // namespace State
