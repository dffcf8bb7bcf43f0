#include "Report.h"

#include "zeb/doc/json/Array.h"
#include "zeb/doc/json/Document.h"
#include "zeb/doc/json/Object.h"
#include "zeb/doc/xml/Document.h"
#include "zeb/doc/xml/Node.h"
#include "zeb/doc/xml/Print.h"
#include "zeb/io/OStream.h"
#include "zeb/runtime/Thread.h"

namespace {

// One item of the status: where it stands in both forms.
struct Item {
    char const* name;
    unsigned long value;
};

template<class Visit>
void ForCpu(Sample const& sample, Visit visit) {
    for (Item const& item : {Item{"user", sample.cpu.user}, Item{"nice", sample.cpu.nice},
                             Item{"system", sample.cpu.system}, Item{"idle", sample.cpu.idle}})
        visit(item);
}

template<class Visit>
void ForMemory(Sample const& sample, Visit visit) {
    for (Item const& item : {Item{"total", sample.memory.total}, Item{"available", sample.memory.available}})
        visit(item);
}

template<class Visit>
void ForCounts(Telemetry::Counts const& counts, Visit visit) {
    for (Item const& item : {Item{"samples", counts.samples}, Item{"failures", counts.failures},
                             Item{"state_files", counts.stateFiles}})
        visit(item);
}

template<class Visit>
void ForInterface(InterfaceSample const& interface, Visit visit) {
    for (Item const& item : {Item{"rx_bytes", interface.rxBytes}, Item{"rx_packets", interface.rxPackets},
                             Item{"tx_bytes", interface.txBytes}, Item{"tx_packets", interface.txPackets}})
        visit(item);
}

struct TimeText {
    explicit TimeText(Time::Stamp const& at) {
        if (at.AsString(Time::Stamp::ISO_MILLISECOND, Time::Stamp::GMT, text).Failed()) text[0] = 0;
    }
    char text[Time::Stamp::TEXT_SIZE] = "";
};

} // namespace

// A failed append gives null, and so does every further one of the document: a tree is built without tests,
// and the document is asked once at its end.
bool PrintXmlStatus(Io::OStream& stream, Config const& config, Telemetry const& telemetry) {
    Sample sample;
    Telemetry::Counts counts;
    if (!telemetry.Get(sample, counts)) return false;

    Xml::Document document;
    Xml::Node* const root = document.AppendElement("status");
    if (!root) return false;
    root->AppendElement("name", config.Name());
    root->AppendElement("time", CString(TimeText(sample.at).text));
    auto const addTo = [](Xml::Node* node) {
        return [node](Item const& item) {
            if (node) node->AppendElement(item.name, item.value);
        };
    };
    ForCounts(counts, addTo(root->AppendElement("counts")));
    ForCpu(sample, addTo(root->AppendElement("cpu")));
    ForMemory(sample, addTo(root->AppendElement("memory")));
    for (InterfaceSample const& interface : sample.interfaces) {
        Xml::Node* const node = root->AppendToArray("interface");
        if (!node) break;
        node->AppendElement("name", CString(interface.name));
        ForInterface(interface, addTo(node));
    }
    if (!Thread::SelfStatus()->AttachTo(*root) || !document.Valid()) return false;
    return Xml::Print(stream, document) && stream.Flush();
}

bool PrintJsonStatus(Io::OStream& stream, Config const& config, Telemetry const& telemetry) {
    Sample sample;
    Telemetry::Counts counts;
    if (!telemetry.Get(sample, counts)) return false;

    Json::Document document;
    Json::Object& root = *document.Object();
    root.Append("name", config.Name());
    root.Append("time", TimeText(sample.at).text);
    auto const addTo = [](Json::Object* object) {
        return [object](Item const& item) {
            if (object) object->Append(item.name, item.value);
        };
    };
    ForCounts(counts, addTo(root.AppendObject("counts")));
    ForCpu(sample, addTo(root.AppendObject("cpu")));
    ForMemory(sample, addTo(root.AppendObject("memory")));
    Json::Array* const interfaces = root.AppendArray("interfaces");
    for (InterfaceSample const& interface : sample.interfaces) {
        Json::Object* const object = interfaces ? interfaces->AppendObject() : nullptr;
        if (!object) break;
        object->Append("name", interface.name);
        ForInterface(interface, addTo(object));
    }
    if (!Thread::SelfStatus()->AppendTo(root) || !document.Valid()) return false;
    return document.Print(stream, false) && (stream << Io::Endl).Flush();
}
