// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

// Stands in front of the library's own functions in the test programs. With ZQXML_THROUGH_WIRE set every router is
// recorded, and each packet that is sent goes through the wire form and back before: the tests have to see no
// difference.

#include <zqxml/xmlpacket.h>
#include <zqxml/xmlrouter.h>
#include <zqxmlkit/xmlwire.h>
#include <zqxmltrace/xmltracerecorder.h>

#include <dlfcn.h>

namespace {

/** Returns the library's own function of a name. */
template <typename Function>
Function *original(const char *name)
{
    return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

void observe(XMLRouter *router, XMLRouterObserver *observer)
{
    static auto *const set =
        original<void(XMLRouter *, XMLRouterObserver *)>("_ZN9XMLRouter11setObserverEP17XMLRouterObserver");
    set(router, observer);
}

constexpr int ringSize = 10000; // bytes, so that lines are thrown away too

const XMLRouter *watched = nullptr; // the router whose observer the test has set
const bool throughWire = qEnvironmentVariableIsSet("ZQXML_THROUGH_WIRE");

/** Has the router recorded as long as it lives. */
void record(XMLRouter *router)
{
    auto *recorder = router->findChild<XMLTraceRecorder *>(QString(), Qt::FindDirectChildrenOnly);
    if (!recorder) {
        recorder = new XMLTraceRecorder(router, ringSize, XMLTraceRecorder::Bodies);
        recorder->setParent(router);
        watched = nullptr; // it is not the test that has set this observer
    }
    observe(router, recorder);
}

} // namespace

void XMLRouter::setObserver(XMLRouterObserver *newObserver)
{
    watched = newObserver ? this : nullptr;
    observe(this, newObserver);
}

void XMLRouter::send(XMLPacket *packet)
{
    static auto *const send = original<void(XMLRouter *, XMLPacket *)>("_ZN9XMLRouter4sendEP9XMLPacket");
    if (throughWire && packet) {
        if (watched != this)
            record(this);
        const QByteArray wire = XMLWire::toWire(*packet);
        if (!wire.isEmpty())
            *packet = *XMLWire::toPacket(wire);
    }
    send(this, packet);
}
