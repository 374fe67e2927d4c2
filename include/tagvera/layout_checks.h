// Compile-time checks that freeze the binary layout hosts depend on, for 32- and 64-bit builds.
// Include it in any translation unit (the library and the tests do); a change that would break
// hosts built against an earlier version stops the build here. Slot positions of every operation
// are checked by the test suite, natively and for a 32-bit target.
#ifndef TAGVERA_LAYOUT_CHECKS_H
#define TAGVERA_LAYOUT_CHECKS_H

#include <cstddef>
#include <type_traits>

#include "tagvera/tagvera.h"

namespace tagvera::layout {

static_assert(sizeof(void*) == 4 || sizeof(void*) == 8, "a 32- or 64-bit target");

// Result codes and the plain types at the interface.
static_assert(sizeof(HRESULT) == 4 && std::is_signed_v<HRESULT>);
static_assert(sizeof(bool) == 1, "DescribePlugin hands out a one-byte bool");
static_assert(sizeof(uint32_t) == 4 && sizeof(uint16_t) == 2 && sizeof(uint8_t) == 1);
static_assert(TV_E_NOTIMPL == static_cast<HRESULT>(0x80004001u) && TV_E_FAIL == static_cast<HRESULT>(0x80004005u));
static_assert(TV_E_NOINTERFACE == static_cast<HRESULT>(0x80004002u) && TV_E_POINTER == static_cast<HRESULT>(0x80004003u));
static_assert(TV_E_OUTOFMEMORY == static_cast<HRESULT>(0x8007000Eu) && TV_E_INVALIDARG == static_cast<HRESULT>(0x80070057u));
static_assert(TV_E_NOCLASSFACTORY == static_cast<HRESULT>(0x80040009u));

// GUID: 16 bytes, 4-aligned, fields where the registry form puts them. GetComponentInfo hands the
// class id out as exactly these 16 bytes.
static_assert(sizeof(GUID) == 16 && alignof(GUID) == 4);
static_assert(std::is_standard_layout_v<GUID> && std::is_trivially_copyable_v<GUID>);
static_assert(offsetof(GUID, Data1) == 0 && offsetof(GUID, Data2) == 4 && offsetof(GUID, Data3) == 6 &&
              offsetof(GUID, Data4) == 8);

// An interface is one pointer to its table: no data, no virtual destructor (it would take a slot
// whose place differs between compilers).
template <class I>
inline constexpr bool kIsInterface =
    std::is_polymorphic_v<I> && std::is_abstract_v<I> && !std::has_virtual_destructor_v<I> &&
    sizeof(I) == sizeof(void*) && alignof(I) == alignof(void*);

static_assert(kIsInterface<IUnknown>);
static_assert(kIsInterface<IKMABuffer> && kIsInterface<IKMAValues> && kIsInterface<IKMAValuesRemove>);
static_assert(kIsInterface<IKMAClassFactory> && kIsInterface<IKMAPlugin> && kIsInterface<IKMAComponentPlugin>);
static_assert(kIsInterface<IKMAPluginNamespace> && kIsInterface<IKCAPackage_> && kIsInterface<IKNContextUser>);
static_assert(kIsInterface<IKCAPackageLifetime> && kIsInterface<IKCAPackageRegistration>);
static_assert(kIsInterface<IMPAInterrogateFile> && kIsInterface<IMPAInterrogateLite>);
static_assert(kIsInterface<IMPAHandleMetaProperties> && kIsInterface<IMPAHandleMetaProperties2>);
static_assert(kIsInterface<IMPAMetaProperty> && kIsInterface<IMPAMetaPropertyLinkedList>);
static_assert(kIsInterface<IMPAMetaPropertyParentMgr> && kIsInterface<IMPAFileProperties>);
static_assert(kIsInterface<IMPAMetaPropertySerialize> && kIsInterface<IMPAMetaPropertySerialize2>);
static_assert(kIsInterface<IMPAMetaPropertyBuffer> && kIsInterface<IMPAWriteReport>);
static_assert(kIsInterface<IKMAXMLParser> && kIsInterface<IKMAXMLParserResponse>);
static_assert(kIsInterface<IKMAToolServices> && kIsInterface<IMPAStructureReport>);
static_assert(kIsInterface<IMPAPropertyCatalog>);
static_assert(kIsInterface<IKMAKMEdit3> && kIsInterface<IKMAKMEdit2> && kIsInterface<IKMAKMFileHeader>);
static_assert(kIsInterface<IKMAKMFF4Reader> && kIsInterface<IKMAKMMetaInformation> && kIsInterface<IKMAKMFFCopy2>);
static_assert(kIsInterface<IKMAProgressSink>);

// Interfaces extend only along one line, so each table starts with its base's slots.
static_assert(std::is_base_of_v<IUnknown, IKMABuffer> && !std::is_base_of_v<IUnknown, IKCAPackage_>);
static_assert(std::is_base_of_v<IMPAHandleMetaProperties, IMPAHandleMetaProperties2>);
static_assert(std::is_base_of_v<IMPAMetaProperty, IMPAMetaPropertyBuffer>);
static_assert(std::is_base_of_v<IKMAKMEdit, IKMAKMEdit3>);

// The entry points' shapes.
static_assert(std::is_same_v<KMACreateInstanceFn, HRESULT(TV_STDCALL*)(IUnknown**)>);
static_assert(std::is_same_v<KMAShutdownFn, HRESULT(TV_STDCALL*)()>);
static_assert(std::is_same_v<SetDLLAccessPathFn, HRESULT(TV_STDCALL*)(const char*)>);

}  // namespace tagvera::layout

#endif
