#include "tests/doc/xml/Trees.h"

namespace {

TEST(XmlName, AcceptsAsciiNamesOnly) {
    for (char const* good : {"a", "Z", "_", ":", "@", "a0", "@id", "x:y-z.9_"})
        EXPECT_TRUE(Xml::Base::ValidateName(good)) << good;
    for (char const* bad : {"", "0", "-a", ".a", "a b", "a/", "a\xC3\xA9", "\xC3\xA9", "a\x01", "a[", "a`", "ab&cd"})
        EXPECT_FALSE(Xml::Base::ValidateName(bad)) << bad;
    EXPECT_TRUE(Xml::Base::ValidateName(CString("ab c", 2)) && !Xml::Base::ValidateName(CString("abc", 0)));
}

// A pointer is no bool.
template<class T>
concept Takes = requires(Node& n, T t) {
    n.AppendElement("", t), n.AppendAttribute("", t), n.AppendToArray("", t);
};
static_assert(Takes<char*> && Takes<bool> && !Takes<Node*> && !Takes<void const*>);

TEST(XmlNode, BuildsEveryDataType) {
    Document document;
    Node& a = *document.AppendElement("a");
    char const* const none = nullptr;
    auto const append = [&](auto const&... values) { (void(a.AppendElement("b", values)), ...); };
    append(CString("v"), "v", none, true, -7, 4294967295U, INT64_MIN, UINT64_MAX, -1LL, 1ULL);
    EXPECT_EQ(XmlTree(a), "E:a#5(E:b=v E:b=v E:b#0 E:b=yes#2 E:b=-7#3 E:b=4294967295#3 E:b=-9223372036854775808#3 "
                          "E:b=18446744073709551615#3 E:b=-1#3 E:b=1#3)");
    EXPECT_FALSE(a.AppendElement("", true) || a.AppendElement("", 1L));
    EXPECT_TRUE(Node::TypeName(Node::DOCTYPE) == "DOCTYPE" && Node::TypeName(static_cast<Node::TypeT>(63)) == "UNKNOWN");
    document.Clear();
    document.AppendToArray("a")->AppendElement("x", false);
    [&](auto const&... values) { (void(document.AppendToArray("a", values)), ...); }("v", none, true);
    Node const* const last = document.AppendToArray("a", -5);
    EXPECT_EQ(last, document.LastNode());
    EXPECT_EQ(XmlTree(document), "DOC(E:a#4(E:x=no#2) E:a=v#4(D=v) E:a#4(D#0) E:a=yes#4(D=yes#2) E:a=-5#4(D=-5#3))");
    Node& slot = *document.FirstNode();
    slot.ClearDataType();
    slot.AppendAttribute("b", true), slot.AppendAttribute("n", -2);
    Attribute const* const attribute = slot.AppendAttribute("s", "t");
    EXPECT_EQ(attribute, slot.LastAttribute());
    EXPECT_EQ(XmlTree(slot), "E:a @b=yes#2 @n=-2#3 @s=t(E:x=no#2)");
}

TEST(XmlNode, ReportsNamesThatDoNotFitAndGoesOn) {
    LogCapture log;
    Document document;
    EXPECT_TRUE(document.AppendElement("1x", "v") && document.AppendElement(""));
    document.AllocateNode(Node::PI, "a b", CString::Nil());
    document.AllocateNode(Node::DATA, "a", CString::Nil());
    Node& element = *document.AppendElement("e");
    EXPECT_NE(element.AppendAttribute("a=", "v"), nullptr);
    Attribute const* const nameless = element.AppendAttribute("", "v");
    Attribute *const first = element.AppendAttribute("b", "1"), *const second = element.AppendAttribute("b", "2");
    for (Attribute* const where : {static_cast<Attribute*>(nullptr), first, element.FirstAttribute()})
        element.InsertAttribute(where, document.AllocateAttribute("b", "3"));
    std::string const duplicate = "W Xml::Node: duplicate attribute: \"b\".";
    EXPECT_EQ(log.Take(), (LinesT{FAILED + "invalid ELEMENT node name: \"1x\".", FAILED + "invalid ELEMENT node name: \"\".",
                                  FAILED + "invalid PI node name: \"a b\".", FAILED + "non-empty DATA node name.",
                                  FAILED + "invalid attribute name: \"a=\".", FAILED + "invalid attribute name: \"\".",
                                  "W Xml::Node: empty attribute name.", duplicate, duplicate, duplicate, duplicate}));
    EXPECT_TRUE(nameless && !nameless->Parent() && second && !second->Parent() && !second->NextAttribute("b"));
    EXPECT_EQ(XmlTree(element), "E:e#5 @a==v @b=1");
    Log(Log::INFO, "x", nullptr, "%1 and %2") << static_cast<Xml::Base const*>(document.FirstNode()) << first;
    EXPECT_EQ(log.Take(), LinesT{"I x: v and 1."});
}

// Random links beside plain vectors.
TEST(XmlNode, KeepsItsListsThroughRandomLinks) {
    Document document;
    Node& p = *document.AppendElement("p");
    std::mt19937 random(1);
    std::vector<Node*> nodes;
    std::vector<Attribute*> attributes;
    auto const link = [&]<class I>(std::vector<I*>& twin, I* item, void (Node::*append)(I*), auto prepend, auto insert,
                                   auto removeFirst, auto removeLast, auto remove) {
        auto const at = twin.begin() + static_cast<long>(random() % (twin.size() + 1));
        I* gone = nullptr;
        std::function<void()> const steps[] = {
            [&] { (p.*prepend)(item), twin.insert(twin.begin(), item); },
            [&] { (p.*append)(item), twin.push_back(item); },
            [&] { (p.*insert)(at != twin.end() ? *at : nullptr, item), twin.insert(at, item); },
            [&] { (p.*removeFirst)(), gone = twin.front(), twin.erase(twin.begin()); },
            [&] { (p.*removeLast)(), gone = twin.back(), twin.pop_back(); },
            [&] { (p.*remove)(gone = twin[random() % twin.size()]), std::erase(twin, gone); },
        };
        steps[random() % (twin.empty() ? 3 : 6)]();
        EXPECT_TRUE(gone == nullptr || gone->Parent() == nullptr);
    };
    for (unsigned round = 0; round < 700; ++round) {
        Xml::String const name = document.AllocateString(("n" + std::to_string(round)).c_str(), 0);
        link(nodes, document.AllocateNode(Node::ELEMENT, name, ""), &Node::AppendNode, &Node::PrependNode, &Node::InsertNode,
             &Node::RemoveFirstNode, &Node::RemoveLastNode, &Node::RemoveNode);
        link(attributes, document.AllocateAttribute(name, ""), &Node::AppendAttribute, &Node::PrependAttribute,
             &Node::InsertAttribute, &Node::RemoveFirstAttribute, &Node::RemoveLastAttribute, &Node::RemoveAttribute);
        std::string expected = "E:p#5";
        for (Attribute const* attribute : attributes) expected += " @" + Text(attribute->Name());
        for (Node const* node : nodes) expected += (node == nodes.front() ? "(E:" : " E:") + Text(node->Name());
        ASSERT_EQ(XmlTree(p), nodes.empty() ? expected : expected + ")"); // follows the links both ways
    }
    p.RemoveAllNodes(), p.RemoveAllAttributes();
    EXPECT_EQ(XmlTree(p), "E:p#5");
    for (auto const* node : nodes) EXPECT_EQ(node->Parent(), nullptr);
    for (auto const* attribute : attributes) EXPECT_EQ(attribute->Parent(), nullptr);
}

TEST(XmlNode, RemovesATailThatAWalkStillReaches) {
    Document document, copy;
    Node *const a = document.AppendElement("a"), *const b = document.AppendElement("b"), *const c = document.AppendElement("c");
    document.RemoveAllNodes(b);
    EXPECT_EQ(std::tuple(document.LastNode(), a->NextSibling(), a->Parent()), std::tuple(a, b, &document));
    EXPECT_FALSE(b->Parent() || c->Parent());
    EXPECT_EQ(XmlText(document), "<a/><b/><c/>");
    ASSERT_TRUE(copy.ReplaceRecursive(&document)); // takes over what a walk reaches
    EXPECT_EQ(XmlTree(copy), "DOC(E:a#5 E:b#5 E:c#5)");
    Node* const d = document.AppendElement("d");
    EXPECT_EQ(XmlTree(document), "DOC(E:a#5 E:d#5)");
    document.RemoveAllNodes(d), document.RemoveFirstNode();
    EXPECT_EQ(document.FirstNode(), nullptr);
    document.AppendNode(b), document.RemoveAllNodes(b);
    EXPECT_EQ(document.LastNode(), nullptr);
}

TEST(XmlNode, FindsByNameTypeAndCase) {
    Parsed const parsed("<r>t<a x='1' y='2'/><b/><a/><?a?></r>", Document::PARSE_PI_NODES);
    Node const& r = parsed.First();
    Node *const data = r.FirstNode(), *const a1 = data->NextSibling(), *const b = a1->NextSibling(), *const a2 = b->NextSibling();
    Attribute *const x = a1->FirstAttribute(), *const y = a1->LastAttribute();
    CString const& any = CString::Nil();
    EXPECT_TRUE(r.FirstNode(any) == data && r.FirstNode("a") == a1 && r.FirstNode("A") == nullptr);
    EXPECT_TRUE(r.FirstNode(CString::IgnoreCase("B")) == b && r.LastNode("a") == r.LastNode(any));
    EXPECT_TRUE(r.LastNode("a", Node::ELEMENT) == a2 && r.FirstNode("a", Node::PI) == r.LastNode());
    EXPECT_TRUE(r.FirstNode(any, Node::DATA) == data && r.FirstNode(any, Node::ELEMENT) == nullptr);
    EXPECT_TRUE(a1->NextSibling("a") == a2 && a1->NextSibling(any) == b && a1->NextSibling("c") == nullptr);
    EXPECT_TRUE(a2->PreviousSibling("a") == a1 && a1->PreviousSibling("b") == nullptr);
    EXPECT_TRUE(a1->FirstAttribute("y") == y && a1->LastAttribute("x") == x && a1->LastAttribute(any) == y);
    EXPECT_TRUE(x->NextAttribute("y") == y && y->PreviousAttribute(any) == x && y->NextAttribute() == nullptr);
}

TEST(XmlNode, CopiesTreesBetweenDocuments) {
    LogCapture log; // a document has no name for the element that it becomes
    Document source, target;
    GrowTree(source, 3);
    Node const* const copy = target.AppendElement("x")->AppendRecursive(&source);
    EXPECT_EQ(std::pair("DOC" + XmlTree(*copy).substr(1), log.Take()), std::pair(XmlTree(source), LinesT()));
    Node& element = *source.AppendElement("e");
    element.AppendAttribute("k", "v"), element.AppendElement("n", 5);
    target.Clear();
    Node& place = *target.AppendElement("old", "value");
    place.AppendAttribute("gone", "1"), place.AppendElement("kept");
    EXPECT_TRUE(place.ReplaceRecursive(&element) && place.ReplaceRecursive(&place));
    EXPECT_EQ(XmlTree(target), "DOC(E:e#5 @k=v(E:kept#5 E:n=5#3))");
    // A copy of an ancestor is whole before it is linked, so this ends.
    EXPECT_NE(place.AppendRecursive(&place), nullptr);
    EXPECT_EQ(XmlTree(*place.LastNode()), "E:e#5 @k=v(E:kept#5 E:n=5#3)");
    EXPECT_TRUE(target.ReplaceRecursive(&place));
    EXPECT_EQ(XmlTree(target).substr(0, 12), "DOC:e#5 @k=v");
    EXPECT_FALSE(place.ReplaceRecursive(nullptr) || place.AppendRecursive(nullptr));
}

TEST(XmlDocument, KeepsASmallTreeInsideTheObject) {
    Footprint footprint;
    Document document;
    Node& status = *document.AppendElement("status");
    status.AppendAttribute("index", 1);
    for (unsigned i = 0; i < 8; ++i) EXPECT_NE(status.AppendElement("counter", i), nullptr);
    document.Clear();
    char text[] = "<a b='1'>x<c/>&amp;<d>2</d></a>";
    EXPECT_TRUE(document.Parse(text, Document::PARSE_DEFAULT, Log::VERBOSE_ON).Succeeded());
    EXPECT_EQ(footprint.Allocations() + footprint.SystemCalls(), 0u);
}

TEST(XmlDocument, AllocatesStringsWithATerminator) {
    Document document;
    Xml::String const blank = document.AllocateString(nullptr, 3);
    EXPECT_EQ(std::tuple(Text(document.AllocateString("abc", 0)), Text(document.AllocateString("abc", 2)), blank.Size()),
              std::tuple("abc", "ab", 3UL));
    EXPECT_FALSE(blank.Cstr()[3] != '\0' || document.AllocateString("abc", ~0UL).Cstr() || document.Valid());
}

TEST(XmlDocument, SaysExactlyWhenMemoryRanOut) {
    std::string const big(5000, 'n');
    Document source;
    source.AppendElement(View(big), View(big))->AppendAttribute(View(big), View(big));
    CString const t = View(big);
    // clang-format off
    std::function<bool(Node&)> const operations[] = {
        [&](Node& n) { return n.AppendElement(t, t) != nullptr; }, [&](Node& n) { return n.AppendElement(t, 1L) != nullptr; },
        [&](Node& n) { return n.AppendAttribute(t, t) != nullptr; }, [&](Node& n) { return n.AppendToArray(t, t) != nullptr; },
        [&](Node& n) { return n.AppendToArray(t) != nullptr; }, [&](Node& n) { return n.ReplaceRecursive(&source); },
        [&](Node& n) { return n.AppendRecursive(source.FirstNode()) != nullptr; },
        [&](Node& n) { return n.Doc()->AllocateAttribute(t, t) != nullptr; },
        [&](Node& n) { return n.Doc()->AllocateNode(Node::ELEMENT, t, t) != nullptr; },
    };
    // clang-format on
    for (auto const& operation : operations) SweepDocument(operation);
}

} // namespace
