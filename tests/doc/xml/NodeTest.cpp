#include "tests/doc/xml/Trees.h"
#include "tests/support/Heap.h"
#include "tests/support/LogCapture.h"

using Xml::Attribute;
using Xml::Document;
using Xml::Node;
using LinesT = LogCapture::LinesT;

namespace {

TEST(XmlName, AcceptsAsciiNamesOnly) {
    for (char const* good : {"a", "Z", "_", ":", "@", "a0", "@id", "x:y-z.9_"})
        EXPECT_TRUE(Xml::Base::ValidateName(good)) << good;
    for (char const* bad : {"", "0", "-a", ".a", "a b", "a/", "a\xC3\xA9", "\xC3\xA9", "a\x01", "a[", "a`"})
        EXPECT_FALSE(Xml::Base::ValidateName(bad)) << bad;
    EXPECT_FALSE(Xml::Base::ValidateName(CString("abc", 0)));
    EXPECT_TRUE(Xml::Base::ValidateName(CString("ab c", 2)));
}

TEST(XmlNode, NamesItsTypes) {
    char const* const names[] = {"DOCUMENT",    "ELEMENT", "DATA", "CDATA",  "COMMENT",
                                 "DECLARATION", "DOCTYPE", "PI",   "UNKNOWN"};
    for (unsigned type = 0; type < 9; ++type)
        EXPECT_STREQ(Node::TypeName(static_cast<Node::TypeT>(type)).Cstr(), names[type]);
    EXPECT_STREQ(Node::TypeName(static_cast<Node::TypeT>(63)).Cstr(), "UNKNOWN");
}

TEST(XmlNode, BuildsElementsOfEveryDataType) {
    Document document;
    struct {
        Node* node;
        char const* dump;
        Xml::Base::DataTypeT type;
    } const rows[] = {
        {document.AppendElement("a"), "E:a", Node::DATA_OBJECT},
        {document.AppendElement("a", CString("v")), "E:a=v", Node::DATA_STRING},
        {document.AppendElement("a", "v"), "E:a=v", Node::DATA_STRING},
        {document.AppendElement("a", static_cast<char const*>(nullptr)), "E:a", Node::DATA_NULL},
        {document.AppendElement("a", true), "E:a=yes", Node::DATA_BOOL},
        {document.AppendElement("a", false), "E:a=no", Node::DATA_BOOL},
        {document.AppendElement("a", -7), "E:a=-7", Node::DATA_NUMBER},
        {document.AppendElement("a", 4294967295U), "E:a=4294967295", Node::DATA_NUMBER},
        {document.AppendElement("a", INT64_MIN), "E:a=-9223372036854775808", Node::DATA_NUMBER},
        {document.AppendElement("a", UINT64_MAX), "E:a=18446744073709551615", Node::DATA_NUMBER},
        {document.AppendElement("a", -1LL), "E:a=-1", Node::DATA_NUMBER},
        {document.AppendElement("a", 1ULL), "E:a=1", Node::DATA_NUMBER},
        {document.AppendToArray("a"), "E:a", Node::DATA_ARRAY},
        {document.AppendToArray("a", CString("v")), "E:a=v(D=v)", Node::DATA_ARRAY},
        {document.AppendToArray("a", static_cast<char const*>(nullptr)), "E:a(D)", Node::DATA_ARRAY},
        {document.AppendToArray("a", true), "E:a=yes(D=yes)", Node::DATA_ARRAY},
        {document.AppendToArray("a", -5), "E:a=-5(D=-5)", Node::DATA_ARRAY},
        {document.AppendToArray("a", 5UL), "E:a=5(D=5)", Node::DATA_ARRAY},
    };
    Node const* child = document.FirstNode();
    for (auto const& row : rows) {
        ASSERT_EQ(child, row.node) << row.dump;
        EXPECT_EQ(Dump(*child), row.dump);
        EXPECT_EQ(child->DataType(), row.type) << row.dump;
        child = child->NextSibling();
    }
    auto const slotType = [&](unsigned row) { return rows[row].node->FirstNode()->DataType(); };
    EXPECT_EQ(slotType(13), Node::DATA_STRING);
    EXPECT_EQ(slotType(14), Node::DATA_NULL);
    EXPECT_EQ(slotType(15), Node::DATA_BOOL);
    EXPECT_EQ(slotType(16), Node::DATA_NUMBER);
    rows[4].node->ClearDataType();
    EXPECT_EQ(rows[4].node->DataType(), Node::DATA_STRING);

    EXPECT_EQ(document.AppendElement("", true), nullptr);
    EXPECT_EQ(document.AppendElement("", 1L), nullptr);
    EXPECT_EQ(child, nullptr);
    Node& element = *rows[0].node;
    EXPECT_EQ(element.AppendAttribute("b", true)->DataType(), Node::DATA_BOOL);
    EXPECT_EQ(element.AppendAttribute("n", -2)->DataType(), Node::DATA_NUMBER);
    EXPECT_EQ(element.AppendAttribute("s", "t")->DataType(), Node::DATA_STRING);
    EXPECT_EQ(Dump(element), "E:a @b=yes @n=-2 @s=t");
}

TEST(XmlNode, ReportsNamesThatDoNotFitAndGoesOn) {
    LogCapture log;
    Document document;
    EXPECT_NE(document.AppendElement("1x", "v"), nullptr);
    EXPECT_NE(document.AppendElement(""), nullptr);
    document.AllocateNode(Node::PI, "a b", CString::Nil());
    document.AllocateNode(Node::DATA, "a", CString::Nil());
    Node& element = *document.AppendElement("e");
    EXPECT_NE(element.AppendAttribute("a=", "v"), nullptr);
    Attribute const* const nameless = element.AppendAttribute("", "v");
    Attribute const* const first = element.AppendAttribute("b", "1");
    Attribute const* const second = element.AppendAttribute("b", "2");
    EXPECT_EQ(log.Take(),
              (LinesT{"C Xml::Document: system failed [0xcffd****], invalid ELEMENT node name: \"1x\".",
                      "C Xml::Document: system failed [0xcffd****], invalid ELEMENT node name: \"\".",
                      "C Xml::Document: system failed [0xcffd****], invalid PI node name: \"a b\".",
                      "C Xml::Document: system failed [0xcffd****], non-empty DATA node name.",
                      "C Xml::Document: system failed [0xcffd****], invalid attribute name: \"a=\".",
                      "C Xml::Document: system failed [0xcffd****], invalid attribute name: \"\".",
                      "W Xml::Node: empty attribute name.", "W Xml::Node: duplicate attribute: \"b\"."}));
    ASSERT_TRUE(nameless != nullptr && second != nullptr);
    EXPECT_EQ(nameless->Parent(), nullptr);
    EXPECT_EQ(second->Parent(), nullptr);
    EXPECT_EQ(second->NextAttribute("b"), nullptr);
    EXPECT_EQ(first->PreviousAttribute("a=")->Value()[0], 'v');
    EXPECT_EQ(Dump(element), "E:e @a==v @b=1");
    Log(Log::INFO, "x", nullptr, "%1 and %2") << static_cast<Xml::Base const*>(document.FirstNode()) << first;
    EXPECT_EQ(log.Take(), LinesT{"I x: v and 1."});
}

// Random links beside a plain vector, of nodes and of attributes.
template<typename ITEM>
struct LinksT {
    std::string before; // as Dump() shows it
    std::string after;
    ITEM* (*make)(Document& document, Xml::String const& name);
    void (Node::*prepend)(ITEM*);
    void (Node::*append)(ITEM*);
    void (Node::*insert)(ITEM*, ITEM*);
    void (Node::*removeFirst)();
    void (Node::*removeLast)();
    void (Node::*remove)(ITEM*);
};

template<typename ITEM>
void CheckLinks(LinksT<ITEM> const& links) {
    Document document;
    Node& node = *document.AppendElement("p");
    std::mt19937 random(1);
    std::vector<ITEM*> twin;
    for (unsigned round = 0; round < 2000; ++round) {
        ITEM* const item =
            links.make(document, document.AllocateString(("n" + std::to_string(round)).c_str(), 0));
        auto const at = twin.begin() + static_cast<long>(random() % (twin.size() + 1));
        ITEM* gone = nullptr;
        switch (random() % (twin.empty() ? 3 : 6)) {
        case 0:
            (node.*links.prepend)(item), twin.insert(twin.begin(), item);
            break;
        case 1:
            (node.*links.append)(item), twin.push_back(item);
            break;
        case 2:
            (node.*links.insert)(at != twin.end() ? *at : nullptr, item), twin.insert(at, item);
            break;
        case 3:
            (node.*links.removeFirst)(), gone = twin.front(), twin.erase(twin.begin());
            break;
        case 4:
            (node.*links.removeLast)(), gone = twin.back(), twin.pop_back();
            break;
        default:
            (node.*links.remove)(gone = twin[random() % twin.size()]), std::erase(twin, gone);
        }
        std::string expected = "E:p";
        for (ITEM const* i : twin)
            expected += links.before + Text(i->Name()) + links.after;
        std::string tree = Dump(node); // follows the links both ways
        std::replace(tree.begin(), tree.end(), '(', ' ');
        std::erase(tree, ')');
        ASSERT_EQ(tree, expected);
        if (gone != nullptr) {
            ASSERT_EQ(gone->Parent(), nullptr);
        }
    }
    node.RemoveAllNodes();
    node.RemoveAllAttributes();
    EXPECT_EQ(Dump(node), "E:p");
    for (ITEM const* item : twin)
        EXPECT_EQ(item->Parent(), nullptr);
}

TEST(XmlNode, KeepsItsListsThroughRandomLinks) {
    CheckLinks<Node>({" E:", "",
                      [](Document& d, Xml::String const& n) { return d.AllocateNode(Node::ELEMENT, n, ""); },
                      &Node::PrependNode, &Node::AppendNode, &Node::InsertNode, &Node::RemoveFirstNode,
                      &Node::RemoveLastNode, &Node::RemoveNode});
    CheckLinks<Attribute>({" @", "=",
                           [](Document& d, Xml::String const& n) { return d.AllocateAttribute(n, ""); },
                           &Node::PrependAttribute, &Node::AppendAttribute, &Node::InsertAttribute,
                           &Node::RemoveFirstAttribute, &Node::RemoveLastAttribute, &Node::RemoveAttribute});
}

TEST(XmlNode, RemovesATailThatAWalkStillReaches) {
    Document document;
    Node* const a = document.AppendElement("a");
    Node* const b = document.AppendElement("b");
    Node* const c = document.AppendElement("c");
    document.RemoveAllNodes(b);
    EXPECT_EQ(document.LastNode(), a);
    EXPECT_EQ(a->NextSibling(), b);
    EXPECT_TRUE(b->Parent() == nullptr && c->Parent() == nullptr && a->Parent() == &document);
    EXPECT_EQ(Printed(document), "<a/><b/><c/>");
    Node* const d = document.AppendElement("d");
    EXPECT_EQ(Dump(document), "DOC(E:a E:d)");
    document.RemoveAllNodes(d);
    document.RemoveFirstNode();
    EXPECT_EQ(document.FirstNode(), nullptr);
    document.AppendNode(b);
    document.RemoveAllNodes(b);
    EXPECT_EQ(document.LastNode(), nullptr);
}

TEST(XmlNode, FindsByNameTypeAndCase) {
    Document document;
    Node* const data = document.AllocateNode(Node::DATA, CString(), "t");
    document.AppendNode(data);
    Node* const a1 = document.AppendElement("a");
    Node* const b = document.AppendElement("b");
    Node* const a2 = document.AppendElement("a");
    Node* const pi = document.AllocateNode(Node::PI, "a", CString());
    document.AppendNode(pi);
    CString const& any = CString::Nil();
    EXPECT_EQ(document.FirstNode(any), data);
    EXPECT_EQ(document.FirstNode("a"), a1);
    EXPECT_EQ(document.FirstNode("A"), nullptr);
    EXPECT_EQ(document.FirstNode(CString::IgnoreCase("A")), a1);
    EXPECT_EQ(document.LastNode("a"), pi);
    EXPECT_EQ(document.LastNode("a", Node::ELEMENT), a2);
    EXPECT_EQ(document.FirstNode("a", Node::PI), pi);
    EXPECT_EQ(document.FirstNode(any, Node::DATA), data);
    EXPECT_EQ(document.FirstNode(any, Node::ELEMENT), nullptr);
    EXPECT_EQ(a1->NextSibling("a"), a2);
    EXPECT_EQ(a1->NextSibling(any), b);
    EXPECT_EQ(a2->PreviousSibling("a"), a1);
    EXPECT_EQ(a1->PreviousSibling("b"), nullptr);
    Attribute* const x = a1->AppendAttribute("x", "1");
    Attribute* const y = a1->AppendAttribute("y", "2");
    EXPECT_EQ(a1->FirstAttribute("y"), y);
    EXPECT_EQ(a1->LastAttribute("x"), x);
    EXPECT_EQ(a1->LastAttribute(any), y);
    EXPECT_EQ(x->NextAttribute("y"), y);
    EXPECT_EQ(y->PreviousAttribute(any), x);
}

TEST(XmlNode, CopiesTreesBetweenDocuments) {
    Document source;
    RandomTree(3).Fill(source, 4);
    Document target;
    {
        LogCapture log; // a document has no name for the element that it becomes
        Node const* const copy = target.AppendElement("x")->AppendRecursive(&source);
        ASSERT_NE(copy, nullptr);
        EXPECT_EQ("DOC" + Dump(*copy).substr(1), Dump(source));
    }
    Node& element = *source.AppendElement("e");
    element.AppendAttribute("k", "v");
    element.AppendElement("n", 5);
    element.AppendToArray("l", "w");
    target.Clear();
    Node& place = *target.AppendElement("old", "value");
    place.AppendAttribute("gone", "1");
    place.AppendElement("kept");
    EXPECT_TRUE(place.ReplaceRecursive(&element));
    EXPECT_EQ(Dump(target), "DOC(E:e @k=v(E:kept E:n=5 E:l=w(D=w)))");
    EXPECT_EQ(place.DataType(), Node::DATA_OBJECT);
    EXPECT_EQ(place.FirstNode("n")->DataType(), Node::DATA_NUMBER);
    EXPECT_TRUE(place.ReplaceRecursive(&place));
    EXPECT_TRUE(target.ReplaceRecursive(&place));
    EXPECT_EQ(target.Type(), Node::DOCUMENT);
    EXPECT_EQ(Text(target.Name()), "e");
    EXPECT_FALSE(place.ReplaceRecursive(nullptr));
    EXPECT_EQ(place.AppendRecursive(nullptr), nullptr);
    // A copy of an ancestor is whole before it is linked, so this ends.
    EXPECT_NE(place.AppendRecursive(&place), nullptr);
    EXPECT_EQ(Dump(*place.LastNode()), "E:e @k=v(E:kept E:n=5 E:l=w(D=w))");
}

TEST(XmlDocument, KeepsASmallTreeInsideTheObject) {
    Footprint footprint;
    Document document;
    Node& status = *document.AppendElement("status");
    status.AppendAttribute("index", 1);
    for (unsigned i = 0; i < 8; ++i)
        status.AppendElement("counter", i);
    char text[] = "<a b='1'>x<c/></a>";
    EXPECT_EQ(Dump(status),
              "E:status @index=1(E:counter=0 E:counter=1 E:counter=2 E:counter=3 E:counter=4 E:counter=5 "
              "E:counter=6 E:counter=7)");
    EXPECT_TRUE(document.Parse(text, Document::PARSE_DEFAULT, Log::VERBOSE_ON).Succeeded());
    EXPECT_EQ(footprint.Allocations(), 0u);
    EXPECT_EQ(footprint.SystemCalls(), 0u);
    EXPECT_TRUE(document.Valid());
}

TEST(XmlDocument, AllocatesStringsWithATerminator) {
    Document document;
    EXPECT_EQ(Text(document.AllocateString("abc", 0)), "abc");
    EXPECT_EQ(Text(document.AllocateString("abc", 2)), "ab");
    Xml::String const blank = document.AllocateString(nullptr, 3);
    EXPECT_EQ(blank.Size(), 3u);
    EXPECT_EQ(blank.Cstr()[3], '\0');
    EXPECT_EQ(document.AllocateString("abc", ~0UL).Cstr(), nullptr);
    EXPECT_FALSE(document.Valid());
    EXPECT_EQ(document.AppendElement("a"), nullptr);
    document.Clear();
    EXPECT_TRUE(document.Valid());
    EXPECT_NE(document.AppendElement("a"), nullptr);
}

TEST(XmlDocument, SaysExactlyWhenMemoryRanOut) {
    std::string const big(5000, 'n');
    Document source;
    source.AppendElement(View(big), View(big))->AppendAttribute(View(big), View(big));
    CString const t = View(big);
    std::function<bool(Node&)> const operations[] = {
        [&](Node& n) { return n.AppendElement(t, t) != nullptr; },
        [&](Node& n) { return n.AppendElement(t, 1L) != nullptr; },
        [&](Node& n) { return n.AppendAttribute(t, t) != nullptr; },
        [&](Node& n) { return n.AppendToArray(t, t) != nullptr; },
        [&](Node& n) { return n.AppendToArray(t) != nullptr; },
        [&](Node& n) { return n.AppendRecursive(source.FirstNode()) != nullptr; },
        [&](Node& n) { return n.Doc()->AllocateNode(Node::ELEMENT, t, t) != nullptr; },
        [&](Node& n) { return n.Doc()->AllocateAttribute(t, t) != nullptr; },
        [&](Node& n) { return n.ReplaceRecursive(&source); },
    };
    for (auto const& operation : operations) {
        SCOPED_TRACE(&operation - operations);
        ForEveryAllocation([&](Heap& heap) {
            Document document;
            UseInlineBlock(document);
            heap.Arm();
            bool const ok = operation(document);
            heap.Disarm();
            EXPECT_EQ(ok, !heap.Fired());
            EXPECT_EQ(document.Valid(), ok);
            if (ok) return;
            EXPECT_EQ(document.FirstNode(), nullptr);
            EXPECT_EQ(document.AppendElement("a"), nullptr);
            EXPECT_EQ(document.AppendAttribute("a", "b"), nullptr);
            document.Clear();
            EXPECT_NE(document.AppendElement("a"), nullptr);
        });
    }
}

} // namespace
