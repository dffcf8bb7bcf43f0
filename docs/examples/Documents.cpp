// A JSON text read, changed and printed, and the same as XML.
#include "zeb/doc/json/Document.h"
#include "zeb/doc/json/Object.h"
#include "zeb/doc/xml/Document.h"
#include "zeb/doc/xml/Print.h"
#include "zeb/io/StdStream.h"

int main() {
    Json::Document document;
    if (document.Parse(CString(R"({"name": "eth0", "mtu": 1500})"), Json::Document::PARSE_CONTAINER).Failed())
        return 1;
    unsigned short mtu;
    if (!document.Object() || !document.Object()->Get("mtu", mtu)) return 1;
    document.Object()->Append("jumbo", mtu > 1500);

    Xml::Document xml;
    Xml::Node* const root = xml.AppendElement("interface");
    if (!root || document.Export(*root).Failed() || !document.Valid()) return 1;

    Io::StdOut out;
    bool const printed = document.Print(out, true) && (out << Io::Endl).Ok() && Xml::Print(out, xml);
    return printed && out.Flush() ? 0 : 1;
}
