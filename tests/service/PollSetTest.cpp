#include "service/PollSet.h"

#include "card/Descriptor.h"

#include <gtest/gtest.h>

#include <sys/eventfd.h>

#include <limits>

namespace {

using namespace Host;

// A descriptor that is readable from tell() to hear().
struct Bell {
   void tell() const { EXPECT_EQ( ::eventfd_write( descriptor.fd(), 1 ), 0 ); }
   void hear() {
      eventfd_t value = 0;
      EXPECT_EQ( ::eventfd_read( descriptor.fd(), &value ), 0 );
      ++heard;
   }
   Descriptor const descriptor{ ::eventfd( 0, EFD_CLOEXEC | EFD_NONBLOCK ) };
   int heard = 0;
};

constexpr double forever = std::numeric_limits<double>::infinity();

TEST( PollSet, WaitsNoLongerThanItIsTold ) {
   PollSet set;
   EXPECT_FALSE( set.wait( 0 ) );
   EXPECT_FALSE( set.wait( -1 ) );
   EXPECT_FALSE( set.wait( 0.0001 ) );
}

TEST( PollSet, CallsEachThatIsReadableAndNoOther ) {
   PollSet set;
   Bell bells[3];
   for ( Bell & bell : bells ) set.descriptorAdd( bell.descriptor.fd(), [&bell] { bell.hear(); } );
   EXPECT_FALSE( set.wait( 0 ) );
   bells[0].tell();
   bells[2].tell();
   EXPECT_TRUE( set.wait( forever ) );
   EXPECT_EQ( bells[0].heard, 1 );
   EXPECT_EQ( bells[1].heard, 0 );
   EXPECT_EQ( bells[2].heard, 1 );
   EXPECT_FALSE( set.wait( 0 ) );
}

TEST( PollSet, WhatIsCalledMayAddDescriptors ) {
   struct Party {
      PollSet set;
      Bell door;
      Bell guests[100];
   } party;
   party.set.descriptorAdd( party.door.descriptor.fd(), [&party] {
      for ( Bell & guest : party.guests ) party.set.descriptorAdd( guest.descriptor.fd(), [&guest] { guest.hear(); } );
      party.door.hear();   // last: what the call holds is still there
   } );
   for ( Bell const & guest : party.guests ) guest.tell();
   party.door.tell();
   EXPECT_TRUE( party.set.wait( forever ) );
   EXPECT_EQ( party.door.heard, 1 );
   EXPECT_EQ( party.guests[99].heard, 0 ) << "its turn is the next wait's";
   EXPECT_TRUE( party.set.wait( forever ) );
   for ( Bell const & guest : party.guests ) EXPECT_EQ( guest.heard, 1 );
}

TEST( PollSet, WhatIsNotReadEndsTheNextWaitToo ) {
   PollSet set;
   Bell bell;
   set.descriptorAdd( bell.descriptor.fd(), [] {} );
   bell.tell();
   EXPECT_TRUE( set.wait( forever ) );
   EXPECT_TRUE( set.wait( forever ) );
}

}   // namespace
