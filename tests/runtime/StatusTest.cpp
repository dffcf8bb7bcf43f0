#include "zeb/runtime/Status.h"

#include "workbench/Heap.h"
#include "workbench/LogCapture.h"
#include "zeb/doc/json/Array.h"
#include "zeb/doc/json/Document.h"
#include "zeb/doc/json/Object.h"
#include "zeb/doc/xml/Document.h"
#include "zeb/doc/xml/Print.h"
#include "zeb/runtime/StatusLog.h"
#include "zeb/runtime/ThreadMain.h"
#include "zeb/stream/StringStream.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

namespace {

// Code, ident, message.
using Report = std::tuple<uint32_t, std::string, std::string>;

Report Read(Status const& status) {
    ReturnT code;
    bool noMessage = false;
    RString<128> ident;
    RString<1024> message;
    status.Get(&code, &noMessage, &ident, &message);
    return {code.Code(), ident.Cstr(), noMessage ? "(none)" : message.Cstr()};
}

std::string const LONG(1017, 'm');

TEST(Status, KeepsTheLastReportAndCutsALongMessage) {
    Status status;
    Status other;
    EXPECT_EQ(Read(status), (Report{0, "", "(none)"}));
    struct {
        Report given, kept;
    } const rows[] = {
        // clang-format off
        {{5, "Ident", "text"}, {5, "Ident", "text"}},
        {{6, std::string(200, 'i'), "(none)"}, {6, std::string(127, 'i'), "(none)"}},
        {{7, "", ""}, {7, "", ""}}, {{1, "", std::string(1023, 'm')}, {1, "", std::string(1023, 'm')}},
        {{1, "", std::string(1024, 'm')}, {1, "", LONG + " [...]"}},
        {{1, "", std::string(4000, 'm')}, {1, "", LONG + " [...]"}},
        // clang-format on
    };
    for (auto const& [given, kept] : rows) {
        auto const& [code, ident, message] = given;
        if (message == "(none)") {
            status.Set(code, ident.c_str());
        } else {
            status.Set(code, ident.c_str(), message.c_str());
        }
        status.Get(nullptr, nullptr, nullptr, nullptr);
        EXPECT_EQ(status.Load(status), code);
        EXPECT_EQ(other.Load(status), code);
        EXPECT_EQ(Read(status), kept);
        EXPECT_EQ(Read(other), kept);
        EXPECT_EQ(std::tuple(status.Code(), status.NoMessage(), status.IsDefined()),
                  std::tuple(ReturnT(code), message == "(none)", true));
    }
    EXPECT_EQ(other.Load(Status::UNDEFINED), 0u);
    status.Reset();
    EXPECT_EQ(Read(status), (Report{0, "", "(none)"}));
    EXPECT_FALSE(status.IsDefined());
    EXPECT_EQ(Read(other), Read(Status::UNDEFINED));
}

TEST(Status, IsSharedByThreads) {
    Status status;
    std::atomic<bool> ended = false;
    std::vector<std::thread> writers;
    for (char const letter : {'a', 'b'}) {
        writers.emplace_back([&, letter] {
            for (uint32_t size = 1; !ended; size = size % 700 + 1)
                status.Set(size, std::string(size % 100, letter).c_str(), std::string(size, letter).c_str());
        });
    }
    for (int i = 0; i < 3000; ++i) {
        auto const [code, ident, message] = Read(status);
        if (message == "(none)") continue; // nothing written yet
        ASSERT_EQ(message, std::string(code, message[0]));
        ASSERT_EQ(ident, std::string(code % 100, message[0]));
    }
    ended = true;
    for (std::thread& writer : writers) writer.join();
}

TEST(Status, HasAnXmlAndAJsonFormWhichReportExhaustedMemory) {
    struct {
        uint32_t code;
        char const *message, *xml, *json;
    } const rows[] = {
        // clang-format off
        {0xCFFD00BE, "failed.", R"(<error code="268239038" ident="Id" critical="yes">failed.</error>)",
         R"({"status":[{"status":"error","code":268239038,"ident":"Id","message":"failed.","critical":true}]})"},
        {0x80C90064, nullptr, R"(<error code="13172836" ident="Id"/>)",
         R"({"status":[{"status":"error","code":13172836,"ident":"Id","message":""}]})"},
        {0x40C90064, "a<b", R"(<message code="13172836" ident="Id" warning="yes">a&lt;b</message>)",
         R"({"status":[{"status":"message","code":13172836,"ident":"Id","message":"a<b","warning":true}]})"},
        {0x00C90064, "ok", R"(<message code="13172836" ident="Id">ok</message>)",
         R"({"status":[{"status":"message","code":13172836,"ident":"Id","message":"ok"}]})"},
        // clang-format on
    };
    Status status;
    for (auto const& row : rows) {
        if (row.message) {
            status.Set(row.code, "Id", row.message);
        } else {
            status.Set(row.code, "Id");
        }
        Xml::Document xml;
        Json::Document json;
        Io::StringStream text;
        EXPECT_TRUE(status.AttachTo(xml) && Xml::Print(text, xml, Xml::PRINT_COMPACT));
        EXPECT_TRUE(status.AppendTo(*json.Object()) && json.Print(text, true) && text.Flush());
        EXPECT_EQ(std::string(text.Str().Cstr()), std::string(row.xml) + row.json);
    }
    status.Set(0xCFFD00BE, "Id", LONG.c_str()); // beyond the memory inside the document
    ForEveryAllocation([&](Heap& heap) {
        Xml::Document xml;
        Json::Document json;
        (void)xml.AllocateString(LONG.c_str(), 1000);
        heap.Arm();
        bool const ok = status.AttachTo(xml) && status.AppendTo(*json.Object());
        heap.Disarm();
        EXPECT_EQ(ok, !heap.Fired());
    });
}

struct Constants {
    static int const SEVEN = 7; // without a definition
};

TEST(StatusLog, WritesStatusAndLineAlike) {
    using KindT = StatusLog& (StatusLog::*)();
    struct {
        KindT kind;
        char const *format, *line;
    } const rows[] = {
        {nullptr, "m %1", "W Id: \"n\": m 7."},
        {&StatusLog::SetFail, "m %1", "C Id: \"n\": system failed [0x80000005], m 7."},
        {&StatusLog::SetOom, "m %1", "C Id: \"n\": out of memory [0x80000005], m 7."},
        {&StatusLog::SetDone, "m %1", "W Id: \"n\": m 7."},
        {&StatusLog::SetDone, "", nullptr},
        {&StatusLog::SetFail, "%", "C Log: invalid message format: %."},
    };
    for (auto const& row : rows) {
        LogCapture capture;
        Status status;
        {
            StatusLog log(0x80000005, Log::WARNING, "Id", "n", row.format, &status);
            if (strchr(row.format, '1')) log << Constants::SEVEN;
            EXPECT_EQ(ReturnT(row.kind ? (log.*row.kind)() : log), 0x80000005);
        }
        std::string const line = row.line ? row.line : "  Id: (none)";
        unsigned long const colon = line.find(':');
        EXPECT_EQ(Read(status), (Report{0x80000005, line.substr(2, colon - 2), line.substr(colon + 2)}));
        EXPECT_EQ(capture.RawLines(), row.line ? LogCapture::LinesT{line} : LogCapture::LinesT{});
    }
    LogCapture capture;
    Status status;
    EXPECT_EQ(ReturnT(StatusLog(5, Log::ERROR, "Id", nullptr, "%1", &status)), 5u);
    EXPECT_EQ(Read(status), (Report{0x0FFF002C, "Log", "too few log arguments in a stream: %1."}));
    (void)capture.Take();
    (void)ReturnT(StatusLog(5, Log::ERROR, "Id", nullptr, "%1", &status) << "a" << Log::QUIET);
    EXPECT_EQ(Read(status), (Report{5, "Id", "a."}));
    EXPECT_TRUE(capture.Take().empty()) << "a quiet statement fills the status alone";
}

TEST(StatusLog, IsClosedByTheConversion) {
    LogCapture capture;
    Status status;
    {
        StatusLog log(5, Log::ERROR, "Id", nullptr, "%1", &status);
        log << "a";
        log.SetDone();
        EXPECT_STREQ(std::get<2>(Read(status)).c_str(), "done") << "until the statement ends";
        EXPECT_EQ(&static_cast<Status const&>(log), &status);
        EXPECT_EQ(Read(status), (Report{5, "Id", "a."}));
        log << "too much" << 7;
        log.SetFail().SetOom().SetDone();
        status.Set(6, "other");
    }
    EXPECT_EQ(Read(status), (Report{6, "other", "(none)"}));
    EXPECT_EQ(capture.Take(), LogCapture::LinesT{"E Id: a."});
}

TEST(StatusLog, ReportsToTheThread) {
    LogCapture capture;
    ASSERT_EQ(Thread::Self(), nullptr);
    {
        StatusLog log(5, Log::ERROR, "Id", nullptr, "nobody");
        EXPECT_EQ(&static_cast<Status const&>(log), &Status::UNDEFINED);
    }
    EXPECT_FALSE(Status::UNDEFINED.IsDefined());
    AutoPtr<ThreadMain> const main(ThreadMain::New("test"));
    Heap heap(1, Heap::ModeT::FOREVER);
    heap.Arm(); // an allocation failure can be reported, whatever else fails
    (void)ReturnT(StatusLog(0xCFFE0001, Log::CRITICAL, "Id", nullptr, "").SetOom());
    heap.Disarm();
    EXPECT_EQ(Read(*Thread::SelfStatus()), (Report{0xCFFE0001, "Id", "out of memory [0xcffe0001]."}));
    EXPECT_TRUE(capture.Has("E Id: nobody."));
    EXPECT_TRUE(capture.Has("C Id: out of memory"));
}

} // namespace
