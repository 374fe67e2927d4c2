// Any bytes as a program of tree operations over a few nodes: adding, replacing, merging,
// removing, cloning, renaming, chaining, enumerating and finding, in any order and between nodes
// that already hold each other. Nothing may crash, hang or leak (a cycle of references would leak),
// and every node must stay consistent: its enumeration agrees with its counts and its names are
// found and sorted. The parent manager's AddParent/RemoveParent are left out (a host that rewrites
// parent lists by hand can hide a cycle from AddChild), as are the pointer types 13 and 14.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

#include "metaprop/metaprop_component.h"
#include "tagvera/com_ptr.h"
#include "tagvera/vocabulary.h"

using namespace tagvera;
using Node = ComPtr<IMPAMetaProperty>;

namespace {

constexpr size_t kPool = 6;
// Each operation can at most double the size of what later walks see (a node shared under two
// names); a short program keeps that bounded.
constexpr int kMaxOperations = 16;

const char* const kNames[] = {"Track", "Album", "Artist", "Name", "DisplayName", "displayname", "G",
                              "Track:Name", "a:b:c", ":", "", "x:", "Album:Cover Art", "Statistics"};

class Program {
public:
    Program(const uint8_t* data, size_t size) : data_(data), size_(size) {}
    bool more() const { return at_ < size_; }
    uint8_t byte() { return at_ < size_ ? data_[at_++] : 0; }
    uint32_t number() { return byte() | static_cast<uint32_t>(byte()) << 8; }
    const char* name() { return kNames[byte() % (sizeof kNames / sizeof *kNames)]; }
    uint32_t type() {
        const uint32_t t = byte() % 16;
        return t == 13 || t == 14 ? kTypeGroup : t;  // pointer types hold live pointers only
    }

private:
    const uint8_t* data_;
    size_t size_;
    size_t at_ = 0;
};

void Check(bool ok) {
    if (!ok) __builtin_trap();
}

void CheckConsistent(IMPAMetaProperty* node) {
    uint32_t names = 0, total = 0;
    Check(node->GetChildNameCount(&names) == TV_S_OK);
    Check(node->GetTotalChildCount(&total) == TV_S_OK);
    uint32_t seenNames = 0;
    std::string previous;
    const char* name = nullptr;
    for (HRESULT hr = node->GetFirstChildName(&name); hr == TV_S_OK; hr = node->GetNextChildName(&name)) {
        Check(seenNames == 0 || previous < name);
        previous = name;
        ++seenNames;
        uint32_t count = 0;
        Check(node->GetChildCount(name, &count) == TV_S_OK && count >= 1);
    }
    Check(seenNames == names);
    uint32_t seenChildren = 0;
    Node child;
    for (HRESULT hr = node->GetFirstChild(child.put()); hr == TV_S_OK; hr = node->GetNextChild(child.put()))
        ++seenChildren;
    Check(seenChildren == total);
}

void Run(Program& program) {
    Node pool[kPool];
    for (Node& node : pool) CreateStandaloneMetaProperty(node.put());
    auto pick = [&]() -> IMPAMetaProperty* { return pool[program.byte() % kPool].get(); };
    auto slot = [&]() -> Node& { return pool[program.byte() % kPool]; };

    for (int step = 0; step < kMaxOperations && program.more(); ++step) {
        const uint8_t op = program.byte() % 20;
        IMPAMetaProperty* a = pick();
        if (!a) continue;
        Node out;
        switch (op) {
        case 0:
            a->AddText(program.name(), program.name(), program.byte(), program.byte() & 1, out.put());
            break;
        case 1: {
            Node& target = slot();
            a->AddGroup(program.name(), program.byte(), program.byte() & 1, out.put());
            if (out) target = out;
            break;
        }
        case 2: {
            IMPAMetaProperty* b = pick();
            const bool named = program.byte() & 1;
            if (b) a->AddChild(b, program.byte() & 1, named ? program.name() : nullptr, program.byte());
            break;
        }
        case 3:
            if (IMPAMetaProperty* b = pick()) a->MergeFrom(b, program.byte() & 1, program.byte());
            break;
        case 4:
            a->RemoveByPath(program.name());
            break;
        case 5:
            if (IMPAMetaProperty* b = pick()) a->RemoveChild(b);
            break;
        case 6: {
            Node& target = slot();
            if (a->Clone(out.put()) == TV_S_OK) target = out;
            break;
        }
        case 7: {
            Node& target = slot();
            if (a->FindByPath(program.name(), out.put()) == TV_S_OK) target = out;
            break;
        }
        case 8: {
            Node& target = slot();
            if (program.byte() & 1 ? a->FindFirstChild(program.name(), out.put()) == TV_S_OK
                                   : a->FindNextChild(program.name(), out.put()) == TV_S_OK)
                target = out;
            break;
        }
        case 9: {
            Node& target = slot();
            if (program.byte() & 1 ? a->GetFirstChild(out.put()) == TV_S_OK : a->GetNextChild(out.put()) == TV_S_OK)
                target = out;
            break;
        }
        case 10: {
            const char* name = nullptr;
            if (program.byte() & 1)
                a->GetFirstChildName(&name);
            else
                a->GetNextChildName(&name);
            break;
        }
        case 11:
            a->SetName(program.name());
            break;
        case 12:
            a->SetType(program.type());
            break;
        case 13: {
            auto link = QueryAs<IMPAMetaPropertyLinkedList>(a, IID_IMPAMetaPropertyLinkedList);
            auto next = QueryAs<IMPAMetaPropertyLinkedList>(pick(), IID_IMPAMetaPropertyLinkedList);
            if (link) link->SetNext(program.byte() & 1 ? next.get() : nullptr);
            break;
        }
        case 14:
            a->SetFlags(program.byte());
            break;
        case 15:
            a->SetParentPath(program.name());
            break;
        case 16:
            if (auto manager = QueryAs<IMPAMetaPropertyParentMgr>(a, IID_IMPAMetaPropertyParentMgr))
                manager->DetachFromParents();
            break;
        case 17: {
            auto properties = QueryAs<IMPAFileProperties>(a, IID_IMPAFileProperties);
            char buffer[16];
            uint32_t size = program.byte() % sizeof buffer;
            uint32_t value = 0;
            properties->SetTrackNumber(program.number());
            properties->SetTitle(program.name());
            properties->GetTitle(buffer, &size);
            properties->GetTrackNumber(&value);
            properties->GetLength(&value);
            break;
        }
        case 18: {
            const uint8_t bytes[8] = {program.byte(), program.byte(), program.byte(), program.byte()};
            a->SetValue(program.byte() & 1 ? bytes : nullptr, program.byte() & 1 ? program.byte() % 9 : 0);
            break;
        }
        case 19:
            if (IMPAMetaProperty* b = pick()) {
                a->IsEqual(b);
                a->IsSameNameAndType(b);
            }
            break;
        }
    }
    for (Node& node : pool)
        if (node) CheckConsistent(node.get());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Program program(data, size);
    Run(program);
    return 0;
}
