// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

// A user interface end to end: its owner sends it, a view shows it and triggers an action, the owner changes it.

#include <zqxml/xmlaction.h>
#include <zqxml/xmlagent.h>
#include <zqxml/xmlpacket.h>
#include <zqxml/xmlrouter.h>
#include <zqxml/xmlui.h>

#include <QCoreApplication>

#include <cstdio>
#include <memory>

namespace {

enum AgentType : int { QUEUE = 100, VIEW = 101 };
enum ActionType : int { HOLD = 1, PROOF = 2 }; // the application's to choose

class Queue : public XMLAgent // the owner
{
public:
    Queue() : XMLAgent(QUEUE) { }

    void offer(int view)
    {
        XMLAction hold(QStringLiteral("Hold"), HOLD, getAgentID());
        XMLAction proof(QStringLiteral("Print a proof"), PROOF, getAgentID());
        hold.setCheckable(true);
        ui.append(hold);
        ui.append(proof);
        send(view);
    }

    void receive(XMLPacket *packet) override
    {
        const std::unique_ptr<XMLPacket> owned(packet);
        std::list<QDomNode> nodes;
        packet->getNodesOfType(XMLObject::XML_ACTION, nodes);
        for (const QDomNode &node : nodes) {
            XMLAction action;
            action.setNode(node.toElement());
            std::printf("queue: type %d, checked %d\n", action.getType(), action.isChecked());
            if (action.getType() == HOLD) // what is held cannot be proofed
                ui.setActionVisible(PROOF, getAgentID(), !action.isChecked());
        }
        send(packet->getSourceAgentID());
    }

private:
    void send(int view)
    {
        XMLPacket *packet = getXMLPacket(view);
        packet->append(ui); // a copy
        router->send(packet);
    }

    XMLUI ui{QStringLiteral("Job")};
};

class View : public XMLAgent
{
public:
    View() : XMLAgent(VIEW) { }

    void receive(XMLPacket *packet) override
    {
        const std::unique_ptr<XMLPacket> owned(packet);
        std::list<QDomNode> nodes;
        packet->getNodesOfType(XMLObject::XML_UI, nodes);
        for (const QDomNode &node : nodes) {
            XMLUI ui;
            ui.setNode(node.toElement());
            QList<XMLAction *> actions; // new ones, which are ours
            ui.getActions(actions, true); // the visible ones
            for (XMLAction *action : std::as_const(actions))
                std::printf("view: %s\n", qUtf8Printable(action->getName()));
            if (actions.size() > 1)
                trigger(*actions.front(), packet->getSourceAgentID());
            else
                QCoreApplication::quit();
            qDeleteAll(actions);
        }
    }

private:
    void trigger(XMLAction &action, int owner) // what a click does
    {
        if (action.isCheckable())
            action.setChecked(!action.isChecked());
        XMLPacket *packet = getXMLPacket(owner);
        packet->append(action);
        router->send(packet);
    }
};

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    Queue queue;
    View view;
    XMLRouter router(nullptr);
    router.add(&queue);
    router.add(&view);
    queue.offer(view.getAgentID());
    return QCoreApplication::exec();
}
