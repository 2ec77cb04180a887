// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

// A user interface with three exclusive actions goes to another agent, which lists them, checks one, and sends it back.

#include <zqxml/xmlaction.h>
#include <zqxml/xmlactiongroup.h>
#include <zqxml/xmlagent.h>
#include <zqxml/xmlpacket.h>
#include <zqxml/xmlrouter.h>
#include <zqxml/xmlui.h>

#include <QCoreApplication>

#include <cstdio>

namespace {

enum AgentType : int { OWNER = 100, VIEW = 101 };

class Agent : public XMLAgent
{
public:
    using XMLAgent::XMLAgent;

    void send(const QList<XMLAction *> &actions, int destination)
    {
        XMLUI ui(QStringLiteral("Jobs"));
        for (XMLAction *action : actions)
            ui.append(*action);
        XMLPacket *packet = getXMLPacket(destination);
        packet->append(ui);
        router->send(packet);
    }

    void receive(XMLPacket *packet) override
    {
        packet->deleteLater(); // it is ours
        std::list<QDomNode> nodes;
        packet->getNodesOfType(XMLObject::XML_UI, nodes);
        XMLUI ui;
        ui.setNode(nodes.front().toElement());
        QList<XMLAction *> actions; // new ones, which are ours
        ui.getActions(actions);

        XMLActionGroup group; // checking one member unchecks the others
        std::printf("agent %d, %s:\n", getAgentID(), qUtf8Printable(ui.getName()));
        for (XMLAction *action : std::as_const(actions)) {
            std::printf(" [%c] %s\n", action->isChecked() ? 'x' : ' ', qUtf8Printable(action->getName()));
            group.addAction(action);
        }
        if (getAgentType() == VIEW) {
            group.toggleAction(actions.back());
            send(actions, packet->getSourceAgentID());
        } else {
            QCoreApplication::quit();
        }
        qDeleteAll(actions);
    }
};

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    Agent owner(OWNER), view(VIEW); // outlive the router
    XMLRouter router(nullptr);
    router.add(&owner);
    router.add(&view);

    XMLAction all(QStringLiteral("All"), 1, owner.getAgentID());
    XMLAction waiting(QStringLiteral("Waiting"), 2, owner.getAgentID());
    XMLAction held(QStringLiteral("Held"), 3, owner.getAgentID());
    all.setChecked(true);
    owner.send({&all, &waiting, &held}, view.getAgentID());
    return QCoreApplication::exec();
}
