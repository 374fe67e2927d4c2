// The serialized forms as interfaces of the tree class: each mixin answers one interface by handing
// the node to the readers and writers, which see it through IMPAMetaProperty alone. Tree is the
// class that derives from them; it makes new nodes with CreateNode(ComPtr<IMPAMetaProperty>&).
#ifndef TAGVERA_METAPROP_META_PROPERTY_SERIALIZE_H
#define TAGVERA_METAPROP_META_PROPERTY_SERIALIZE_H

#include <string>

#include "metaprop/block_io.h"
#include "metaprop/xml_io.h"
#include "tagvera/metaprop_serialize.h"
#include "tagvera/xml.h"

namespace tagvera {

template <class Tree>
NodeFactory NodeFactoryOf(const Tree& tree) {
    return [&tree](IMPAMetaProperty** out) {
        ComPtr<IMPAMetaProperty> node;
        const HRESULT hr = tree.CreateNode(node);
        *out = node.detach();
        return hr;
    };
}

template <class Tree>
class CMPAMetaPropertySerializeImpl : public IMPAMetaPropertySerialize {
public:
    HRESULT TV_STDCALL WriteXML(char** text, uint32_t* length, bool pretty) override {
        return WriteXmlDocument(tree(), pretty, text, length);
    }
    HRESULT TV_STDCALL ReadXML(const char* text, uint32_t length) override {
        return Guard([&] { return tree()->ReadXMLWithEncoding(text, length, XmlEncodingPreference().c_str()); });
    }
    HRESULT TV_STDCALL WriteBinary(uint8_t** block, uint32_t* size, bool keepReferences, bool variant,
                                   bool bigEndian) override {
        return Guard([&] {
            return tree()->WriteBinaryEx(block, size, keepReferences, variant, bigEndian, DatabaseFieldsPreference());
        });
    }
    HRESULT TV_STDCALL ReadBinary(const uint8_t* block, uint32_t size, bool keepReferences, bool bigEndian) override {
        return ReadBlock(tree(), NodeFactoryOf(*tree()), block, size, {keepReferences, bigEndian});
    }

private:
    Tree* tree() { return static_cast<Tree*>(this); }
};

template <class Tree>
class CMPAXMLParserResponseImpl : public IKMAXMLParserResponse {
public:
    HRESULT TV_STDCALL OnBeginElement(const char* name, IKMAValues* attributes, uint32_t, uint32_t) override {
        return builder_.BeginElement(tree(), NodeFactoryOf(*tree()), name, attributes);
    }
    HRESULT TV_STDCALL OnEndElement(const char* name, uint32_t, uint32_t) override {
        return builder_.EndElement(name);
    }
    // Text, comments and the rest carry nothing of the tree.
    HRESULT TV_STDCALL OnCharacterData(IKMABuffer*, uint32_t, uint32_t) override { return TV_S_OK; }
    HRESULT TV_STDCALL OnProcessingInstruction(const char*, IKMAValues*, uint32_t, uint32_t) override {
        return TV_S_OK;
    }
    HRESULT TV_STDCALL OnBeginCDataSection(uint32_t, uint32_t) override { return TV_S_OK; }
    HRESULT TV_STDCALL OnEndCDataSection(uint32_t, uint32_t) override { return TV_S_OK; }
    HRESULT TV_STDCALL OnComment(const char*, uint32_t, uint32_t) override { return TV_S_OK; }
    HRESULT TV_STDCALL OnDocumentType(const char*, const char*, const char*, uint32_t, uint32_t) override {
        return TV_S_OK;
    }
    HRESULT TV_STDCALL OnEndDocument(uint32_t, uint32_t) override { return TV_S_OK; }

    XmlTreeBuilder& xmlTreeBuilder() { return builder_; }

private:
    Tree* tree() { return static_cast<Tree*>(this); }
    XmlTreeBuilder builder_;
};

template <class Tree>
class CMPAMetaPropertySerialize2Impl : public IMPAMetaPropertySerialize2 {
public:
    HRESULT TV_STDCALL ReadXMLWithEncoding(const char* text, uint32_t length, const char* encoding) override {
        XmlTreeBuilder& builder = tree()->xmlTreeBuilder();
        builder.Clear();
        const HRESULT hr = ReadXmlDocument(tree(), text, length, encoding);
        // Nodes left open by a failure (the root among them) are released here, not kept alive.
        builder.Clear();
        return hr;
    }
    HRESULT TV_STDCALL WriteBinaryEx(uint8_t** block, uint32_t* size, bool keepReferences, bool variant,
                                     bool bigEndian, bool databaseFields) override {
        return WriteBlock(tree(), {keepReferences, variant, bigEndian, databaseFields}, block, size);
    }

private:
    Tree* tree() { return static_cast<Tree*>(this); }
};

}  // namespace tagvera

#endif
