#include "zeb/event/Base.h"

#include "tests/doc/xml/Trees.h"
#include "tests/event/Notes.h"
#include "zeb/core/StringMap.h"

namespace {

using LinesT = LogCapture::LinesT;

TEST(EventBase, IsStampedWhenRaisedAndItsCloneIsAsBrokenAsItIs) {
    Note note(1);
    EXPECT_EQ(note.RaiseTime(), Time::Span());
    note.MarkRaised();
    EXPECT_TRUE(note.RaiseTime() <= Time::Monotonic() && note.RaiseTime() > Time::Span());
    LogCapture log;
    EXPECT_EQ(AutoPtr<Event::Base>(Note(1, Note::IDENT, false).Clone()).Ptr(), nullptr);
    EXPECT_EQ(log.Take(), LinesT({"C Event::Base: \"Event::Type::Note\": out of memory [0xcffe****]."}));
}

TEST(EventBase, PrintsPublicEventsWholeOrNotAtAll) {
    for (int const value : {0, 1})
        ForEveryAllocation([&](Heap& heap) {
            LogCapture log;
            Xml::Document document;
            document.AppendElement("before");
            // Not enough is left of the memory inside the document for the whole event.
            (void)document.AllocateString(nullptr, 1700);
            heap.Arm();
            bool const ok = Note(value, "Event::Type::Sms").PrintXml(document);
            heap.Disarm();
            EXPECT_EQ(ok, !heap.Fired());
            std::string const event = std::string("<event class=\"Event::Type::Sms\" raise_time=\"0.000000\"") +
                                      (value ? "><a>1</a><b>yes</b></event>" : "/>");
            EXPECT_EQ(XmlText(document), "<before/>" + (ok ? event : ""));
            EXPECT_EQ(log.Has("C Event::Base: out of memory [0xcffe****]."), heap.Fired());
        });
    LogCapture log;
    Xml::Document document;
    EXPECT_FALSE(Note(1, "Event::Type::AuditLog", false).PrintXml(document));
    EXPECT_FALSE(Note(1).PrintXml(document));
    Clock clock;
    clock.Advance(-Time::Monotonic().Milliseconds() - 1000);
    Note early(1, "Event::Type::AuditLog");
    early.MarkRaised();
    EXPECT_FALSE(early.PrintXml(document));
    EXPECT_EQ(document.FirstNode(), nullptr);
    std::string const line = "E Event::Base: can not create an XML event: \"Event::Type::";
    EXPECT_EQ(log.Take(), LinesT({line + "AuditLog\" event instance was not initialized.", line + "Note\" event is not public.",
                                  line + "AuditLog\" event has wrong raise time."}));
}

TEST(EventBase, ReadsYesAndNo) {
    LogCapture log;
    bool result = false;
    EXPECT_TRUE(Event::Base::IsBool_("Sms", "yes", result) && result);
    EXPECT_TRUE(!Event::Base::IsBool_("Sms", "Yes", result) && result);
    EXPECT_TRUE(Event::Base::IsBool_("Sms", "no", result) && !result);
    EXPECT_STREQ(Event::Base::Bool_(false).Cstr(), "no");
    EXPECT_EQ(log.Take(), LinesT{"E Event::Base: invalid boolean value \"Yes\" (expected \"yes\" or \"no\") while parsing "
                                 "\"Sms\" event description."});
}

TEST(EventBase, CopiesATreeWithItsTypes) {
    std::string text = "<?pi x?><a b='1'>t<c/><!--n--><d><e>u</e></d></a><f/>";
    Xml::Document source;
    ASSERT_TRUE(source.Parse(text.data(), Xml::Document::PARSE_COMMENT_NODES | Xml::Document::PARSE_PI_NODES, Log::VERBOSE_ON)
                    .Succeeded());
    Xml::Document copy;
    Note::CloneXml_(source.FirstNode("a"), &copy);
    ASSERT_EQ(copy.FirstNode(), copy.LastNode()) << "its siblings stay";
    Xml::Document whole;
    Note::CloneXml_(&source, &whole);
    ASSERT_EQ(whole.FirstNode()->Type(), Xml::Node::DOCUMENT);
    ForEveryAllocation([&](Heap& heap) {
        Xml::Document target;
        (void)target.AllocateString(nullptr, 1500);
        heap.Arm();
        Note::CloneXml_(&source, &target);
        heap.Disarm();
        EXPECT_EQ(target.Valid(), !heap.Fired());
    });
    source.Clear();
    text.assign(text.size(), '#');
    EXPECT_EQ(XmlText(copy), "<a b=\"1\">t<c/><!--n--><d><e>u</e></d></a>") << "the source is gone";
}

TEST(EventBase, ReadsCookies) {
    ForEveryAllocation([](Heap& heap) {
        LogCapture log;
        StringMap map;
        heap.Arm();
        bool const ok = Note::Decode_("&a=1&b%3d=%26+&a=2&&c&d=e=f&%zz=1&g=%4&h=&=i", map) && Note::Decode_("", map);
        heap.Disarm();
        EXPECT_EQ(ok, !heap.Fired());
        if (!ok) return;
        std::string pairs;
        for (unsigned long i = 0; i < map.Size(); ++i) pairs += Text(map.Key(i)) + ":" + Text(map.Get(i)) + " ";
        EXPECT_EQ(pairs, ":i a:2 b=:&+ h: ");
        std::string const line = "E Event::Type::ZessCookie: invalid ";
        EXPECT_EQ(log.Take(), LinesT({line + "name-value pair: \"c\".", line + "name-value pair: \"d=e=f\".",
                                      line + "cookie name: \"%zz\".", line + "cookie value: \"%4\"."}));
    });
}

} // namespace
