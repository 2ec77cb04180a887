// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

// Two agents: one sends a message, the other prints the packet that it gets.

#include <zqxml/xmlagent.h>
#include <zqxml/xmlmessage.h>
#include <zqxml/xmlpacket.h>
#include <zqxml/xmlrouter.h>

#include <QCoreApplication>

namespace {

constexpr int PRINTER = 100; // types of agents are the application's to choose

class Printer : public XMLAgent
{
public:
    Printer() : XMLAgent(PRINTER) { }

    void receive(XMLPacket *packet) override
    {
        packet->print();
        delete packet; // a packet belongs to the agent that receives it
        QCoreApplication::quit();
    }
};

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    // README
    Printer first, second; // agents that print what they receive; they outlive the router
    XMLRouter router(nullptr); // delivers packets; has no command server here
    router.add(&first); // becomes agent 1
    router.add(&second); // becomes agent 2

    XMLMessage message(QStringLiteral("Plates are ready"));
    XMLPacket *packet = first.getXMLPacket(second.getAgentID());
    packet->append(message);
    router.send(packet); // taken over, and delivered by the event loop
    return QCoreApplication::exec();
    // README
}
