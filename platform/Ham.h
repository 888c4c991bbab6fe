// Hardware-access handles: how a driver reads and writes the registers of its card's FPGA.
//
// `Fru::Ham` is the published description; its `hamImpl` performs the accesses, and is empty while none exists. Byte
// addresses count from the start of the handle's space. A host derives its own HamImpl for a card or a simulation.
#pragma once

#include "framework/Entity.h"

namespace Fru {

class HamImpl : public Vor::EntityOf<HamImpl> {
 public:
   explicit HamImpl( Vor::Name name ) : EntityOf( std::move( name ) ) {}

   struct NotifieeConst : NotifieeConstBase {
      virtual void onSize() {}
      virtual void onOffset() {}
      virtual void onHardwarePresent() {}
      virtual void onHardwareInstanceId() {}
      virtual void onReadDriverParameterResult() {}
      virtual void onFilename() {}
      virtual void onKind() {}
      virtual void onTestReadAllFs() {}
      virtual void onTestReadAllFsCounter() {}
   };
   using Notifiee = NotifieeFor<NotifieeConst>;

   /// Reads the 32-bit register at byte `address` into `value`. Drivers take every read as successful.
   virtual void read32( U32 address, U32 & value ) = 0;
   /// Writes the 32-bit register at byte `address`, in one access that is complete when it returns.
   virtual void write32( U32 address, U32 value ) = 0;

   /// Length of the space, in bytes.
   U32 size() const { return stored_.get<"size">(); }
   void sizeIs( U32 size ) { attributeIs<"size">( stored_, size ); }
   /// Where the space starts within `filename`, in bytes.
   U64 offset() const { return stored_.get<"offset">(); }
   void offsetIs( U64 offset ) { attributeIs<"offset">( stored_, offset ); }
   /// Whether the card answers.
   bool hardwarePresent() const { return stored_.get<"hardwarePresent">(); }
   void hardwarePresentIs( bool present ) { attributeIs<"hardwarePresent">( stored_, present ); }
   U32 hardwareInstanceId() const { return stored_.get<"hardwareInstanceId">(); }
   void hardwareInstanceIdIs( U32 id ) { attributeIs<"hardwareInstanceId">( stored_, id ); }
   U32 readDriverParameterResult() const { return stored_.get<"readDriverParameterResult">(); }
   void readDriverParameterResultIs( U32 result ) { attributeIs<"readDriverParameterResult">( stored_, result ); }
   Vor::String filename() const { return stored_.get<"filename">(); }
   void filenameIs( Vor::String filename ) { attributeIs<"filename">( stored_, std::move( filename ) ); }
   Vor::String kind() const { return stored_.get<"kind">(); }
   void kindIs( Vor::String kind ) { attributeIs<"kind">( stored_, std::move( kind ) ); }
   bool testReadAllFs() const { return stored_.get<"testReadAllFs">(); }
   void testReadAllFsIs( bool allFs ) { attributeIs<"testReadAllFs">( stored_, allFs ); }
   U32 testReadAllFsCounter() const { return stored_.get<"testReadAllFsCounter">(); }
   void testReadAllFsCounterIs( U32 count ) { attributeIs<"testReadAllFsCounter">( stored_, count ); }

   static Vor::Type const & staticType();
   using Attributes = Vor::Attributes<
      Vor::Fixed<"name", &HamImpl::name>,
      Vor::Changeable<"size", &HamImpl::size, &HamImpl::sizeIs, &NotifieeConst::onSize>,
      Vor::Changeable<"offset", &HamImpl::offset, &HamImpl::offsetIs, &NotifieeConst::onOffset>,
      Vor::Changeable<
         "hardwarePresent", &HamImpl::hardwarePresent, &HamImpl::hardwarePresentIs, &NotifieeConst::onHardwarePresent>,
      Vor::Changeable<
         "hardwareInstanceId", &HamImpl::hardwareInstanceId, &HamImpl::hardwareInstanceIdIs,
         &NotifieeConst::onHardwareInstanceId>,
      Vor::Changeable<
         "readDriverParameterResult", &HamImpl::readDriverParameterResult, &HamImpl::readDriverParameterResultIs,
         &NotifieeConst::onReadDriverParameterResult>,
      Vor::Changeable<"filename", &HamImpl::filename, &HamImpl::filenameIs, &NotifieeConst::onFilename>,
      Vor::Changeable<"kind", &HamImpl::kind, &HamImpl::kindIs, &NotifieeConst::onKind>,
      Vor::Changeable<
         "testReadAllFs", &HamImpl::testReadAllFs, &HamImpl::testReadAllFsIs, &NotifieeConst::onTestReadAllFs>,
      Vor::Changeable<
         "testReadAllFsCounter", &HamImpl::testReadAllFsCounter, &HamImpl::testReadAllFsCounterIs,
         &NotifieeConst::onTestReadAllFsCounter>>;

 private:
   Vor::Stored<HamImpl, Attributes> stored_;
};

class Ham final : public Vor::EntityOf<Ham> {
 public:
   explicit Ham( Vor::Name name ) : EntityOf( std::move( name ) ) {}

   struct NotifieeConst : NotifieeConstBase {
      virtual void onHamImpl() {}
   };
   using Notifiee = NotifieeFor<NotifieeConst>;

   /// The implementation, empty while there is none.
   Vor::Ptr<HamImpl> hamImpl() const { return stored_.get<"hamImpl">(); }
   void hamImplIs( Vor::Ptr<HamImpl> hamImpl ) { attributeIs<"hamImpl">( stored_, std::move( hamImpl ) ); }

   static Vor::Type const & staticType();
   using Attributes = Vor::Attributes<
      Vor::Fixed<"name", &Ham::name>,
      Vor::Changeable<"hamImpl", &Ham::hamImpl, &Ham::hamImplIs, &NotifieeConst::onHamImpl>>;

 private:
   Vor::Stored<Ham, Attributes> stored_;
};

inline constexpr auto & hamFactory = Vor::factoryOf<Ham>;

}   // namespace Fru
