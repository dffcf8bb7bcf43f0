#include "zeb/core/Status.h"

#include "tests/support/Heap.h"
#include "tests/support/LogCapture.h"
#include "zeb/core/StatusLog.h"
#include "zeb/doc/json/Array.h"
#include "zeb/doc/json/Document.h"
#include "zeb/doc/json/Object.h"
#include "zeb/doc/xml/Document.h"
#include "zeb/doc/xml/Print.h"
#include "zeb/io/StringStream.h"
#include "zeb/runtime/ThreadMain.h"

#include <gtest/gtest.h>

#include <string>

namespace {

struct Report {
    uint32_t code;
    std::string ident;
    std::string message;

    bool operator==(Report const&) const = default;
    friend std::ostream& operator<<(std::ostream& out, Report const& report) {
        return out << std::hex << report.code << " " << report.ident << " " << report.message;
    }
};

Report Read(Status const& status) {
    ReturnT code;
    bool noMessage = false;
    RString<128> ident;
    RString<1024> message;
    status.Get(&code, &noMessage, &ident, &message);
    EXPECT_EQ(noMessage, status.NoMessage());
    EXPECT_EQ(code, status.Code());
    EXPECT_EQ(status.IsDefined(), code != 0);
    return {code, ident.Cstr(), noMessage ? "(none)" : message.Cstr()};
}

std::string const LONG(1017, 'm');

TEST(Status, KeepsTheLastReport) {
    Status status;
    EXPECT_EQ(Read(status), (Report{0, "", "(none)"}));
    EXPECT_EQ(Read(Status::UNDEFINED), (Report{0, "", "(none)"}));
    status.Set(5, "Ident", "text");
    EXPECT_EQ(Read(status), (Report{5, "Ident", "text"}));
    status.Get(nullptr, nullptr, nullptr, nullptr);
    status.Set(6, std::string(200, 'i').c_str());
    EXPECT_EQ(Read(status), (Report{6, std::string(127, 'i'), "(none)"}));
    status.Set(7, "", "");
    EXPECT_EQ(Read(status), (Report{7, "", ""}));

    Status other;
    EXPECT_EQ(other.Load(status), 7u);
    EXPECT_EQ(Read(other), Read(status));
    EXPECT_EQ(status.Load(status), 7u);
    EXPECT_EQ(Read(status), (Report{7, "", ""}));
    EXPECT_EQ(other.Load(Status::UNDEFINED), 0u);
    EXPECT_EQ(Read(other), (Report{0, "", "(none)"}));
    status.Reset();
    EXPECT_EQ(Read(status), (Report{0, "", "(none)"}));
}

TEST(Status, CutsALongMessage) {
    struct Row {
        unsigned long size;
        bool whole;
    } const rows[] = {{1022, true}, {1023, true}, {1024, false}, {4000, false}};
    for (Row const& row : rows) {
        std::string const message(row.size, 'm');
        Status status;
        Status copy;
        status.Set(1, "", message.c_str());
        (void)copy.Load(status);
        EXPECT_EQ(Read(status).message, row.whole ? message : LONG + " [...]") << row.size;
        EXPECT_EQ(Read(copy), Read(status));
    }
}

struct Form {
    uint32_t code;
    char const* message;
    char const* xml;
    char const* json;
};

Form const FORMS[] = {
    {0xCFFD00BE, "failed.", R"(<error code="268239038" ident="Id" critical="yes">failed.</error>)",
     R"({"status":[{"status":"error","code":268239038,"ident":"Id","message":"failed.","critical":true}]})"},
    {0x80C90064, nullptr, R"(<error code="13172836" ident="Id"/>)",
     R"({"status":[{"status":"error","code":13172836,"ident":"Id","message":""}]})"},
    {0x40C90064, "a<b", R"(<message code="13172836" ident="Id" warning="yes">a&lt;b</message>)",
     R"({"status":[{"status":"message","code":13172836,"ident":"Id","message":"a<b","warning":true}]})"},
    {0x00C90064, "ok", R"(<message code="13172836" ident="Id">ok</message>)",
     R"({"status":[{"status":"message","code":13172836,"ident":"Id","message":"ok"}]})"},
};

void Fill(Status& status, Form const& form) {
    if (form.message) return status.Set(form.code, "Id", form.message);
    status.Set(form.code, "Id");
}

TEST(Status, HasAnXmlAndAJsonForm) {
    for (Form const& form : FORMS) {
        Status status;
        Fill(status, form);
        Xml::Document xml;
        EXPECT_TRUE(status.AttachTo(xml));
        Io::StringStream text;
        EXPECT_TRUE(Xml::Print(text, xml, Xml::PRINT_COMPACT) && text.Flush());
        EXPECT_STREQ(text.Str().Cstr(), form.xml);

        Json::Document json;
        EXPECT_TRUE(status.AppendTo(*json.Object()));
        Io::StringStream jsonText;
        EXPECT_TRUE(json.Print(jsonText, true) && jsonText.Flush());
        EXPECT_STREQ(jsonText.Str().Cstr(), form.json);
    }
}

TEST(Status, FormsReportExhaustedMemory) {
    Status status;
    status.Set(0xCFFD00BE, "Id", LONG.c_str()); // beyond the memory inside the document
    ForEveryAllocation([&](Heap& heap) {
        Xml::Document document;
        (void)document.AllocateString(LONG.c_str(), 1000);
        heap.Arm();
        bool const ok = status.AttachTo(document);
        heap.Disarm();
        EXPECT_EQ(ok, !heap.Fired());
    });
    ForEveryAllocation([&](Heap& heap) {
        Json::Document document;
        heap.Arm();
        bool const ok = status.AppendTo(*document.Object());
        heap.Disarm();
        EXPECT_EQ(ok, !heap.Fired());
    });
    Xml::Document again;
    EXPECT_TRUE(status.AttachTo(again)) << "the lock was given back";
}

ReturnT Statement(Status& status, int kind) {
    StatusLog log(0x80000005, Log::WARNING, "Id", "n", kind == 4 ? "" : "m %1", &status);
    if (kind != 4) log << kind;
    switch (kind) {
    case 1:
        return log.SetFail();
    case 2:
        return log.SetOom();
    case 3:
    case 4:
        return log.SetDone();
    default:
        return log;
    }
}

TEST(StatusLog, WritesStatusAndLineAlike) {
    struct Row {
        int kind;
        char level;
        char const* message;
    } const rows[] = {
        {0, 'W', "\"n\": m 0."},
        {1, 'C', "\"n\": system failed [0x80000005], m 1."},
        {2, 'C', "\"n\": out of memory [0x80000005], m 2."},
        {3, 'W', "\"n\": m 3."},
        {4, 0, nullptr},
    };
    for (Row const& row : rows) {
        LogCapture capture;
        Status status;
        EXPECT_EQ(Statement(status, row.kind), 0x80000005);
        EXPECT_EQ(Read(status), (Report{0x80000005, "Id", row.message ? row.message : "(none)"}));
        LogCapture::LinesT expected;
        if (row.message) expected.push_back(std::string(1, row.level) + " Id: " + row.message);
        EXPECT_EQ(capture.RawLines(), expected);
    }
}

TEST(StatusLog, StoresAFaultOfTheStatement) {
    LogCapture capture;
    Status status;
    EXPECT_EQ(ReturnT(StatusLog(5, Log::ERROR, "Id", nullptr, "%1", &status)), 5u);
    EXPECT_EQ(Read(status), (Report{0x0FFF002C, "Log", "too few log arguments in a stream: %1."}));
    (void)ReturnT(StatusLog(0xCFFD0007, Log::ERROR, "Id", nullptr, "%", &status).SetFail());
    EXPECT_EQ(Read(status), (Report{0xCFFD0007, "Log", "invalid message format: %."}));
    EXPECT_EQ(capture.Take(), (LogCapture::LinesT{"C Log: too few log arguments in a stream: %1.",
                                                  "C Log: invalid message format: %."}));
}

TEST(StatusLog, IsClosedByTheConversion) {
    LogCapture capture;
    Status status;
    {
        StatusLog log(5, Log::ERROR, "Id", nullptr, "%1", &status);
        log << "a";
        log.SetDone();
        EXPECT_STREQ(Read(status).message.c_str(), "done") << "until the statement ends";
        EXPECT_EQ(&static_cast<Status const&>(log), &status);
        EXPECT_EQ(Read(status), (Report{5, "Id", "a."}));
        log << "too much" << 7;
        log.SetFail().SetOom().SetDone();
        status.Set(6, "other");
    }
    EXPECT_EQ(Read(status), (Report{6, "other", "(none)"}));
    EXPECT_EQ(capture.Take(), LogCapture::LinesT{"E Id: a."});
}

TEST(StatusLog, QuietStatementsFillTheStatus) {
    LogCapture capture;
    Status status;
    (void)ReturnT(StatusLog(5, Log::ERROR, "Id", nullptr, "%1", &status) << "a" << Log::QUIET);
    EXPECT_EQ(Read(status), (Report{5, "Id", "a."}));
    EXPECT_TRUE(capture.Take().empty());
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
