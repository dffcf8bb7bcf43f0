#include "Report.h"

#include "zeb/doc/json/Array.h"
#include "zeb/doc/json/Document.h"
#include "zeb/doc/json/Object.h"
#include "zeb/doc/xml/Document.h"
#include "zeb/doc/xml/Node.h"
#include "zeb/doc/xml/Print.h"
#include "zeb/stream/OStream.h"

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
                             Item{"tx_bytes", interface.txBytes}, Item{"tx_packets", interface.txPackets},
                             Item{"speed", interface.speed}})
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
bool Report::PrintXml(Io::OStream& stream, DetailT detail) const {
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
        node->AppendElement("address", Network::IpBlock::Str(interfaces.Address(interface.name)).Cstr());
        ForInterface(interface, addTo(node));
    }
    Xml::Node* const samples = root->AppendElement("history");
    if (samples == nullptr || !history.AttachTo(*samples, detail == FULL)) return false;
    if (detail == FULL &&
        (Thread::AttachThreadsTo(load, *root).Failed() || !Thread::SelfStatus()->AttachTo(*root)))
        return false;
    if (!document.Valid()) return false;
    return Xml::Print(stream, document) && stream.Flush();
}

bool Report::PrintJson(Io::OStream& stream) const {
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
    Json::Array* const array = root.AppendArray("interfaces");
    for (InterfaceSample const& interface : sample.interfaces) {
        Json::Object* const object = array != nullptr ? array->AppendObject() : nullptr;
        if (!object) break;
        object->Append("name", interface.name);
        object->Append("address", Network::IpBlock::Str(interfaces.Address(interface.name)).Cstr());
        ForInterface(interface, addTo(object));
    }
    Json::Array* const samples = root.AppendArray("received_bytes");
    if (samples == nullptr || !history.AppendTo(*samples) || !Thread::SelfStatus()->AppendTo(root) ||
        !document.Valid())
        return false;
    return document.Print(stream, false) && (stream << Io::Endl).Flush();
}
