#include "zeb/runtime/Status.h"

#include "tests/runtime/Worker.h"
#include "zeb/doc/json/Document.h"
#include "zeb/doc/json/Object.h"
#include "zeb/doc/xml/Document.h"
#include "zeb/doc/xml/Print.h"
#include "zeb/stream/StringStream.h"

namespace {

// Code, ident, message.
using Report = std::tuple<uint32_t, std::string, std::string>;

Report Read(Status const& status) {
    ReturnT code;
    bool noMessage;
    RString<128> ident;
    RString<1024> message;
    status.Get(&code, &noMessage, &ident, &message);
    return {code.Code(), ident.Cstr(), noMessage ? "(none)" : message.Cstr()};
}

std::string const LONG(1017, 'm');

void Set(Status& status, uint32_t code, char const* ident, char const* message) {
    message ? status.Set(code, ident, message) : status.Set(code, ident);
}

TEST(Status, KeepsTheLastReportAndCutsALongMessage) {
    Status status, other;
    EXPECT_EQ(Read(status), (Report{0, "", "(none)"}));
    std::pair<Report, Report> const rows[] = {// clang-format off
        {{5, "Id", "text"}, {5, "Id", "text"}}, {{6, std::string(200, 'i'), "(none)"}, {6, std::string(127, 'i'), "(none)"}},
        {{7, "", ""}, {7, "", ""}}, {{1, "", std::string(1023, 'm')}, {1, "", std::string(1023, 'm')}},
        {{1, "", std::string(1024, 'm')}, {1, "", LONG + " [...]"}}, {{1, "", std::string(4000, 'm')}, {1, "", LONG + " [...]"}}};
    // clang-format on
    for (auto const& [given, kept] : rows) {
        auto const& [code, ident, message] = given;
        Set(status, code, ident.c_str(), message == "(none)" ? nullptr : message.c_str());
        status.Get(nullptr, nullptr, nullptr, nullptr);
        EXPECT_EQ(std::pair(status.Load(status).Code(), other.Load(status).Code()), std::pair(code, code));
        EXPECT_EQ(std::pair(Read(status), Read(other)), std::pair(kept, kept));
        EXPECT_TRUE(status.Code() == code && status.NoMessage() == (message == "(none)") && status.IsDefined());
    }
    EXPECT_TRUE(other.Load(Status::UNDEFINED) == 0 && (status.Reset(), !status.IsDefined()));
    EXPECT_EQ(std::pair(Read(status), Read(other)), std::pair(Report(0, "", "(none)"), Read(Status::UNDEFINED)));
}

TEST(Status, IsSharedByThreads) {
    Status status;
    std::atomic<bool> ended = false;
    auto const write = [&](char letter) {
        for (uint32_t size = 1; !ended; size = size % 700 + 1)
            status.Set(size, std::string(size % 100, letter).c_str(), std::string(size, letter).c_str());
    };
    std::thread writers[] = {std::thread(write, 'a'), std::thread(write, 'b')};
    for (int i = 0; i < 3000; ++i) {
        auto const [code, ident, message] = Read(status);
        if (message == "(none)") continue; // nothing written yet
        ASSERT_EQ(ident + message, std::string(code % 100, message[0]) + std::string(code, message[0]));
    }
    ended = true;
    for (std::thread& writer : writers) writer.join();
}

TEST(Status, HasAnXmlAndAJsonFormWhichReportExhaustedMemory) {
    std::tuple<uint32_t, char const*, std::string, std::string> const rows[] = {
        // clang-format off
        {0xCFFD00BE, "failed.", R"(<error code="268239038" ident="Id" critical="yes">failed.</error>)",
         R"({"status":[{"status":"error","code":268239038,"ident":"Id","message":"failed.","critical":true}]})"},
        {0x80C90064, nullptr, R"(<error code="13172836" ident="Id"/>)",
         R"({"status":[{"status":"error","code":13172836,"ident":"Id","message":""}]})"},
        {0x40C90064, "a<b", R"(<message code="13172836" ident="Id" warning="yes">a&lt;b</message>)",
         R"({"status":[{"status":"message","code":13172836,"ident":"Id","message":"a<b","warning":true}]})"},
        {0x00C90064, "ok", R"(<message code="13172836" ident="Id">ok</message>)",
         R"({"status":[{"status":"message","code":13172836,"ident":"Id","message":"ok"}]})"}};
    // clang-format on
    Status status;
    for (auto const& [code, message, asXml, asJson] : rows) {
        Set(status, code, "Id", message);
        Xml::Document xml;
        Json::Document json;
        Io::StringStream text;
        EXPECT_TRUE(status.AttachTo(xml) && Xml::Print(text, xml, Xml::PRINT_COMPACT));
        EXPECT_TRUE(status.AppendTo(*json.Object()) && json.Print(text, true) && text.Flush());
        EXPECT_EQ(text.Str().Cstr(), asXml + asJson);
    }
    status.Set(0xCFFD00BE, "Id", LONG.c_str()); // beyond the memory inside the document
    ForEveryAllocation([&](Heap& heap) {
        Xml::Document xml;
        Json::Document json;
        (void)xml.AllocateString(LONG.c_str(), 1000);
        Reported(heap, [&] { return status.AttachTo(xml) && status.AppendTo(*json.Object()); });
    });
}

struct Constants {
    static int const SEVEN = 7; // without a definition
};

TEST(StatusLog, WritesStatusAndLineAlike) {
    using KindT = StatusLog& (StatusLog::*)();
    std::tuple<KindT, char const*, std::string> const rows[] = {
        {nullptr, "m %1", "W Id: \"n\": m 7."},
        {&StatusLog::SetFail, "m %1", "C Id: \"n\": system failed [0x80000005], m 7."},
        {&StatusLog::SetOom, "m %1", "C Id: \"n\": out of memory [0x80000005], m 7."},
        {&StatusLog::SetDone, "m %1", "W Id: \"n\": m 7."},
        {&StatusLog::SetDone, "", "  Id: (none)"}, // without a line
        {&StatusLog::SetFail, "%", "C Log: invalid message format: %."},
    };
    LogCapture capture;
    Status status;
    for (auto const& [kind, format, line] : rows) {
        {
            StatusLog log(0x80000005, Log::WARNING, "Id", "n", format, &status);
            if (strchr(format, '1')) log << Constants::SEVEN;
            EXPECT_EQ(ReturnT(kind ? (log.*kind)() : log), 0x80000005);
        }
        unsigned long const colon = line.find(':');
        EXPECT_EQ(Read(status), (Report{0x80000005, line.substr(2, colon - 2), line.substr(colon + 2)}));
        EXPECT_EQ(capture.RawLines(), *format ? LinesT{line} : LinesT{});
        capture.Clear();
    }
    EXPECT_EQ(ReturnT(StatusLog(5, Log::ERROR, "Id", nullptr, "%1", &status)), 5u);
    EXPECT_EQ(Read(status), (Report{0x0FFF002C, "Log", "too few log arguments in a stream: %1."}));
    capture.Clear(), (void)ReturnT(StatusLog(5, Log::ERROR, "Id", nullptr, "%1", &status) << "a" << Log::QUIET);
    EXPECT_EQ(Read(status), (Report{5, "Id", "a."}));
    EXPECT_TRUE(capture.Take().empty()) << "a quiet statement fills the status alone";
}

TEST(StatusLog, IsClosedByTheConversion) {
    LogCapture capture;
    Status status;
    {
        StatusLog log(5, Log::ERROR, "Id", nullptr, "%1", &status);
        (log << "a").SetDone();
        EXPECT_STREQ(std::get<2>(Read(status)).c_str(), "done") << "until the statement ends";
        EXPECT_EQ(&static_cast<Status const&>(log), &status);
        EXPECT_EQ(Read(status), (Report{5, "Id", "a."}));
        (log << "too much" << 7).SetFail().SetOom().SetDone();
        status.Set(6, "other");
    }
    EXPECT_EQ(Read(status), (Report{6, "other", "(none)"}));
    EXPECT_EQ(capture.Take(), LinesT{"E Id: a."});
}

TEST(StatusLog, ReportsToTheThread) {
    LogCapture capture;
    ASSERT_EQ(Thread::Self(), nullptr);
    EXPECT_EQ(&static_cast<Status const&>(StatusLog(5, Log::ERROR, "Id", nullptr, "nobody")), &Status::UNDEFINED);
    EXPECT_FALSE(Status::UNDEFINED.IsDefined());
    AutoPtr<ThreadMain> const main(ThreadMain::New("test"));
    Heap heap(1, Heap::ModeT::FOREVER);
    heap.Arm(); // an allocation failure can be reported, whatever else fails
    (void)ReturnT(StatusLog(0xCFFE0001, Log::CRITICAL, "Id", nullptr, "").SetOom());
    heap.Disarm();
    EXPECT_EQ(Read(*Thread::SelfStatus()), (Report{0xCFFE0001, "Id", "out of memory [0xcffe0001]."}));
    EXPECT_EQ(capture.Take(), (LinesT{"E Id: nobody.", "C Id: out of memory [0xcffe****]."}));
}

} // namespace
