// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

// Everything that can go wrong between agents, recorded: the trace shows which packets were dropped and why, who kept
// the event loop, and which request was never answered.

#include <zqxml/xmlaction.h>
#include <zqxml/xmlagent.h>
#include <zqxml/xmlmessage.h>
#include <zqxml/xmlpacket.h>
#include <zqxml/xmlrouter.h>
#include <zqxmltrace/xmltracerecorder.h>

#include <QCoreApplication>
#include <QTimer>

#include <chrono>
#include <cstdio>
#include <thread>

namespace {

constexpr int DESK = 100;
constexpr int PLATES = 101;
constexpr int ASK_STATE = 2001;
constexpr int ASK_INK = 2002;

class Agent : public XMLAgent
{
public:
    using XMLAgent::XMLAgent;

    void receive(XMLPacket *packet) override
    {
        std::list<QDomNode> actions;
        if (packet->getNodesOfType(XMLObject::XML_ACTION, actions) > 0)
            answer(packet->getSourceAgentID(),
                   XMLObject::getAttributeInt(actions.front().toElement(), QStringLiteral("type")));
        delete packet;
    }

    void tell(int destination, const QString &text)
    {
        XMLMessage message(text);
        XMLPacket *const packet = getXMLPacket(destination);
        packet->append(message);
        router->send(packet);
    }

    void ask(int destination, int question)
    {
        XMLAction action(QStringLiteral("question"), question, getAgentID());
        XMLPacket *const packet = getXMLPacket(destination);
        packet->append(action);
        router->send(packet);
    }

private:
    void answer(int asker, int question)
    {
        if (question != ASK_STATE)
            return; // nobody has taught it about ink
        std::this_thread::sleep_for(std::chrono::milliseconds(150)); // and it computes in the event loop
        tell(asker, QStringLiteral("8 plates are ready"));
    }
};

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("trace"));
    Agent desk(DESK), plates(PLATES), forgotten(PLATES);
    XMLRouter router(nullptr);
    XMLTraceRecorder recorder(&router, QStringLiteral("trace.jsonl"), XMLTraceRecorder::Bodies);
    router.add(&desk);
    router.add(&plates);
    forgotten.setRouter(&router); // but it is never added

    desk.ask(2, ASK_STATE); // takes long
    desk.ask(2, ASK_INK); // is never answered
    desk.tell(2, QStringLiteral("Hurry")); // and once more: a repeat
    desk.tell(2, QStringLiteral("Hurry"));
    desk.tell(77, QStringLiteral("Anybody?")); // nobody is
    forgotten.tell(1, QStringLiteral("I am not registered"));
    QTimer::singleShot(400, &application, &QCoreApplication::quit);
    const int status = QCoreApplication::exec();
    std::printf("trace.jsonl: %s\n", recorder.flush() ? "written" : qPrintable(recorder.error()));
    return status;
}
