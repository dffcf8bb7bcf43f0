// A configuration read as a record with a list, changed and printed; the same as XML, read back and packed.
#include "zeb/core/String.h"
#include "zeb/doc/json/Document.h"
#include "zeb/doc/json/Getter.h"
#include "zeb/doc/json/Setter.h"
#include "zeb/doc/xml/Document.h"
#include "zeb/doc/xml/Print.h"
#include "zeb/doc/xml/Stream.h"
#include "zeb/io/StdStream.h"
#include "zeb/stream/StringStream.h"

namespace {

char const TEXT[] = R"({"name": "eth0", "mtu": 1500, "dns": null,
                       "routes": [{"to": "10.0.0.0/8", "metric": 5}, {"to": "0.0.0.0/0", "metric": 100}]})";

struct Settings {
    String name;
    unsigned short mtu = 0;
    unsigned long metrics = 0; // the sum
};

// One route. The bool of the getter tells about this one, and a failure reaches the list and the record
// above.
void TakeRoute(Json::Getter::UValue::Iterator& item, Settings& settings) {
    CString to;
    unsigned metric;
    Json::Getter::Object route;
    Json::Getter::UValue const place(item, route); // reads: from here on each member is read as it is hung
    route >> Json::Getter::Member("to", to) >> Json::Getter::Member("metric", metric);
    if (route) settings.metrics += metric;
}

bool Take(Json::Document const& document, Settings& settings, Io::OStream& errors) {
    CString name;
    CString const* dns; // optional: null if it is missing or null
    bool hasRoutes;     // makes the list optional
    Json::Getter::Array routes(&hasRoutes);
    Json::Getter::Object record(document.Object()); // a text that is a list has none: the record fails
    record.Strict() >> Json::Getter::Member("name", name) >> Json::Getter::Member("mtu", settings.mtu) >>
        Json::Getter::Member("dns", &dns) >> Json::Getter::NValue("routes", routes);
    for (Json::Getter::UValue::Iterator& item : routes)
        TakeRoute(item, settings);
    if (!record) {
        errors << "bad or missing: " << record.FailedField() << Io::Endl; // such as routes[1].metric
        return false;
    }
    return settings.name.Assign(name); // the view ends with the document
}

// Builds without tests, and asks once whether the memory lasted.
bool Build(Json::Document& document, Settings const& settings) {
    using namespace Json::Setter;
    Array list(document);
    for (unsigned port = 1; port <= 3; ++port)
        list << Element(port);
    Object(*document.Object()) << Member("name", settings.name) << Member("jumbo", settings.mtu > 1500)
                               << NArray("ports", list)
                               << NObject("sum", Object(document) << Member("metrics", settings.metrics));
    return document.Valid();
}

} // namespace

int main() {
    Io::StdOut out;
    Json::Document document;
    Json::FaultT fault;
    if (document.Parse(CString(TEXT), Json::Document::PARSE_CONTAINER, &fault).Failed()) {
        out << "line " << fault.line << ", column " << fault.column << ": " << fault.words << Io::Endl;
        return 1;
    }
    Settings settings;
    if (!Take(document, settings, out)) return 1;

    Json::Document state;
    Xml::Document xml;
    Xml::Node* const root = xml.AppendElement("interface");
    if (!Build(state, settings) || !root || state.Export(*root).Failed()) return 1;
    root->AppendAttribute("index", 2);
    if (!state.Print(out, true) || !(out << Io::Endl).Ok() || !Xml::Print(out, xml)) return 1;

    // The same through the packed form, and from a text: the tree is a view of the buffer.
    Io::StringStream sender;
    Xml::Document copy, parsed;
    if (!Xml::Stream::Write(sender, xml) || !sender.Flush()) return 1;
    Io::StringStream receiver(sender.Str());
    if (!Xml::Stream::Read(receiver, copy, 65536)) return 1; // takes no more than these bytes
    char text[] = "<interface index='2'><name>eth0</name></interface>";
    if (parsed.Parse(text, Xml::Document::PARSE_DEFAULT, Log::VERBOSE_ON).Failed()) return 1;
    Xml::Node const* const name = parsed.FirstNode()->FirstNode("name");
    return name && name->Value() == copy.FirstNode()->FirstNode("name")->Value() && out.Flush() ? 0 : 1;
}
