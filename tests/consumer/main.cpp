// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include <zqxml/xmlagent.h>
#include <zqxml/xmlmessage.h>
#include <zqxml/xmlpacket.h>
#include <zqxml/xmlrouter.h>

#include <QCoreApplication>

#include <cstdio>
#include <list>
#include <memory>

class Reader : public XMLAgent
{
public:
    Reader() : XMLAgent(100) { } // the type, any number of yours

    void receive(XMLPacket *packet) override
    {
        const std::unique_ptr<XMLPacket> owned(packet); // a packet belongs to the agent that receives it
        std::list<QDomNode> messages;
        packet->getNodesOfType(XMLObject::XML_MESSAGE, messages);
        for (const QDomNode &node : messages) {
            XMLMessage message;
            message.setNode(node.toElement());
            std::printf("agent %d says: %s\n", packet->getSourceAgentID(), qUtf8Printable(message.getMessage()));
        }
        QCoreApplication::quit();
    }
};

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    Reader sender, receiver; // agents outlive the router, or are removed from it first
    XMLRouter router(nullptr); // no command server
    router.add(&sender); // becomes agent 1
    router.add(&receiver); // becomes agent 2

    XMLMessage message(QStringLiteral("Plates are ready"));
    XMLPacket *packet = sender.getXMLPacket(receiver.getAgentID());
    packet->append(message);
    router.send(packet); // taken over, and delivered by the event loop
    return QCoreApplication::exec();
}
