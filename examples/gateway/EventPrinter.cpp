#include "EventPrinter.h"

#include "zeb/core/Log.h"
#include "zeb/doc/xml/Document.h"
#include "zeb/doc/xml/Print.h"
#include "zeb/event/Bus.h"
#include "zeb/io/StdStream.h"

void EventPrinter::Stop() { Event::Unsubscribe(CString::Nil(), this, onEvent_.Ident()); }

bool EventPrinter::Start() {
    for (char const* const* type = Event::Base::PUBLIC_EVENTS_; *type != nullptr; ++type) {
        if (!Event::Subscribe(*type, onEvent_)) return false;
    }
    return true;
}

// On the thread of the bus.
void EventPrinter::OnEvent_(Event::Base const& event) {
    Xml::Document document;
    if (!event.PrintXml(document)) return; // logged
    Io::StdOut out;
    if (!Xml::Print(out, document) || !out.Flush())
        Log(Log::ERROR, IDENT, event.Ident(), "unable to print: %1") << out.ErrorString();
}
