// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "xmlui.h"

#include "xmlaction.h"

#include <memory>

namespace {

template <typename Change>
void changeActions(QDomElement &ui, int type, int originator, Change change)
{
    std::list<QDomNode> actions;
    XMLObject::getNodesOfType(ui, XMLObject::XML_ACTION, actions);
    for (const QDomNode &child : actions) {
        QDomElement action = child.toElement();
        if (XMLObject::getAttributeInt(action, QStringLiteral("type")) == type
            && XMLObject::getAttributeInt(action, QStringLiteral("originator")) == originator)
            change(action);
    }
}

} // namespace

XMLUI::XMLUI() : XMLObject(XML_UI) { }

XMLUI::XMLUI(const QString &name) : XMLUI()
{
    setName(name);
}

void XMLUI::setName(const QString &name)
{
    setAttribute(node, QStringLiteral("name"), name);
}

QString XMLUI::getName() const
{
    return getAttribute(node, QStringLiteral("name"));
}

QDomElement XMLUI::append(XMLAction &action)
{
    return node.isNull() ? QDomElement() : node.appendChild(action.getNode().cloneNode(true)).toElement();
}

int XMLUI::getActions(QList<XMLAction *> &out, bool visibleOnly)
{
    std::list<QDomNode> children;
    getNodesOfType(node, XML_ACTION, children);
    int count = 0;
    for (const QDomNode &child : children) {
        auto action = std::make_unique<XMLAction>();
        action->setNode(child.toElement());
        if (visibleOnly && !action->getVisible())
            continue;
        out.append(action.release());
        ++count;
    }
    return count;
}

int XMLUI::getActions(QList<XMLAction *> &out)
{
    return getActions(out, false);
}

void XMLUI::setActionVisible(int type, int originator, bool visible)
{
    changeActions(node, type, originator, [visible](QDomElement &action) { XMLAction::setVisible(action, visible); });
}

void XMLUI::setActionName(int type, int originator, const QString &name)
{
    changeActions(node, type, originator, [&name](QDomElement &action) { XMLAction::setName(action, name); });
}

void XMLUI::setActionOrgName(int type, int originator, const QString &orgName)
{
    changeActions(node, type, originator, [&orgName](QDomElement &action) { XMLAction::setOrgName(action, orgName); });
}

int XMLUI::visibleActionCount()
{
    QList<XMLAction *> actions;
    const int count = getActions(actions, true);
    qDeleteAll(actions);
    return count;
}
