// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

// Agents on demand: a broker makes an agent when somebody asks for a type that is not registered.

#include <zqxml/xmlagent.h>
#include <zqxml/xmlagentbroker.h>
#include <zqxml/xmlmessage.h>
#include <zqxml/xmlpacket.h>
#include <zqxml/xmlrouter.h>

#include <QCoreApplication>

#include <cstdio>
#include <memory>
#include <vector>

namespace {

constexpr int CLIENT = 100;
constexpr int ARCHIVE = 101;
constexpr int SCANNER = 102;

class Agent : public XMLAgent
{
public:
    using XMLAgent::XMLAgent;

    void receive(XMLPacket *packet) override
    {
        std::printf("agent %d of type %d: packet from %d\n", getAgentID(), getAgentType(), packet->getSourceAgentID());
        delete packet;
        QCoreApplication::quit();
    }
};

class Broker : public XMLAgentBroker
{
public:
    int createAgent(int agentType) override
    {
        if (agentType != ARCHIVE)
            return 0;
        agents.push_back(std::make_unique<Agent>(agentType));
        router->add(agents.back().get());
        std::printf("broker: made agent %d of type %d\n", agents.back()->getAgentID(), agentType);
        return agents.back()->getAgentID();
    }

private:
    std::vector<std::unique_ptr<Agent>> agents; // the router owns the broker, and the broker its agents
};

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    Agent client(CLIENT); // outlives the router
    XMLRouter router(nullptr);
    router.setAgentBroker(new Broker); // taken over
    router.add(&client);

    const int archive = router.supplyAgentOfType(ARCHIVE);
    std::printf("asked again: agent %d\n", router.supplyAgentOfType(ARCHIVE));
    std::printf("no scanner: %d\n", router.supplyAgentOfType(SCANNER));

    XMLMessage message(QStringLiteral("Keep this"));
    XMLPacket *packet = client.getXMLPacket(archive);
    packet->append(message);
    router.send(packet);
    return QCoreApplication::exec();
}
