#pragma once

// A JSON document: the root value and the pool in which the whole tree lives. To read a record of known shape
// take Json::Getter, to write one Json::Setter.
//
//   Json::Document document;
//   Json::FaultT fault;
//   if (document.Parse(text, Json::Document::PARSE_CONTAINER, &fault).Failed()) ... fault.line, fault.words
//   Json::Object const* const settings = document.Object(); // null for a text that is a list
//
// Parse reads the text of RFC 8259, as strict as that, with at most 128 nested levels inside the root. The
// text needs no terminator and is not changed; UTF-8 is taken as it comes. A number without fraction and
// exponent keeps its exact value when it lies within 64 bits; all others are doubles. A name that stands
// twice in an object is logged at Log::WARNING, and kept.
//
// Owns       all values, names and texts below it. Dropping the content (InitObject, InitArray, Parse of a
//            text with an object or array as root, the destructor) ends every pointer and view into it
// Threads    one at a time
// Fails      by codes and null results; no failure is logged, but that Parse and Export ran out of memory
// Memory     2048 bytes lie inside the object, so that a small document on the stack costs no system call and
//            no heap call. When the pool is exhausted an operation gives null and the valid flag goes down
//            until the content is dropped: a builder appends without tests and asks Valid() once at the end

#include "zeb/core/CBuffer.h"
#include "zeb/core/Pool.h"
#include "zeb/core/ReturnT.h"
#include "zeb/doc/json/Codes.h"
#include "zeb/doc/json/Value.h"

namespace Io {
class OStream;
}
namespace Xml {
class Node;
}

namespace Json {

class ZEB_PUBLIC Document : public Value {
public:
    static constexpr char IDENT[] = "Json::Document";

    // What may stand as the root of a text.
    enum ParseT : uint32_t {
        PARSE_CONTAINER = 0, // an object or an array
        PARSE_ANY = 1,       // any value
    };

    Document();
    ~Document();

    bool Valid() const { return valid_; }

    // An empty root of that type. The pool is dropped and the document is valid again.
    void InitObject() { Clear_(TYPE_OBJECT); }
    void InitArray() { Clear_(TYPE_ARRAY); }

    // Codes: see CodeT (Codes.h), or the Oom family, which is logged at Log::CRITICAL. A failure leaves what
    // was built so far, and says in the fault, if there is one, where and why; a success does not touch it. A
    // scalar root keeps the pool as it is, and its text, if it is one, lies there too.
    ReturnT Parse(CBuffer const& text, ParseT what, FaultT* fault = nullptr);
    ReturnT Parse(CString const& text, ParseT what, FaultT* fault = nullptr);

    // True when the state of the stream is good at the end. Otherwise than compact each element stands on a
    // line of its own, indented by 2 for each level.
    bool Print(Io::OStream& stream, bool compact) const;

    // Appends the members of the root to the node, as elements. Fails for a root that is no object, for a
    // double anywhere, and for an array in an array, with a code of CodeT; and for want of memory, with one
    // of the Oom family, which is logged at Log::CRITICAL. What was appended by then stays.
    ReturnT Export(Xml::Node& parent) const;

    // Internal. Memory of the pool; null, and the valid flag down, when that is exhausted.
    void* Allocate_(unsigned long size) {
        void* const block = pool_.Alloc(size);
        if (block == nullptr) valid_ = false;
        return block;
    }
    // Internal. A copy of the text with a NUL behind it, in whole groups of 16 bytes, all of which may be
    // read. A size of 0 with a text means all of it up to its NUL; with a null text the bytes are left to be
    // filled. The data is null when the pool is exhausted.
    Json::String Allocate_(char const* text, unsigned long size);
    Json::String Allocate_(CString const& text);
    // Internal. An empty root of that type, see InitObject.
    void Clear_(TypeT type);
    // Internal. The root takes over type, flags, number and string of a value of this document, which is no
    // container.
    void InitValue_(Value const& value);

private:
    friend class Json::Object;
    friend class Parser_;

    static constexpr unsigned long POOL_SIZE = 2048;

    bool valid_ = true;
    Pool<POOL_SIZE> pool_;
};

// The text of one value with all that is in it, see Document::Print.
ZEB_PUBLIC bool Print(Io::OStream& stream, Value const& value, bool compact);

} // namespace Json
