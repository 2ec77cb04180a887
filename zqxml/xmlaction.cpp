// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "xmlaction.h"

#include "xmlpacketable.h"

#include <algorithm>
#include <cstdio>

namespace {

// The text of a missing property is null, that of an empty one is not.
bool readsAsTrueOrMissing(const QString &text)
{
    return text.isNull() || text.toInt() == 1;
}

} // namespace

XMLAction::XMLAction() : XMLObject(XML_ACTION), group(nullptr) { }

XMLAction::XMLAction(const QString &name, int type, int originator) : XMLAction()
{
    setName(name);
    setType(type);
    setOriginator(originator);
}

XMLAction::~XMLAction() = default;

void XMLAction::setName(const QString &name)
{
    setName(node, name);
}

void XMLAction::setName(QDomElement &action, const QString &name)
{
    setAttribute(action, QStringLiteral("name"), name);
}

QString XMLAction::getName() const
{
    return getAttribute(node, QStringLiteral("name"));
}

void XMLAction::setType(int type)
{
    setAttribute(node, QStringLiteral("type"), type);
}

int XMLAction::getType() const
{
    return getAttributeInt(node, QStringLiteral("type"));
}

void XMLAction::setOriginator(int originator)
{
    setAttribute(node, QStringLiteral("originator"), originator);
}

int XMLAction::getOriginator()
{
    return getAttributeInt(node, QStringLiteral("originator"));
}

void XMLAction::setVisible(bool b)
{
    setVisible(node, b);
}

void XMLAction::setVisible(QDomElement &action, bool b)
{
    setProperty(action, QStringLiteral("visible"), b);
}

bool XMLAction::getVisible() const
{
    return readsAsTrueOrMissing(getProperty(node, QStringLiteral("visible")));
}

bool XMLAction::hasVisible() const
{
    return hasProperty(node, QStringLiteral("visible"));
}

void XMLAction::setShowNewestPage(bool b)
{
    setProperty(node, QStringLiteral("show_newest_page"), b);
}

bool XMLAction::getShowNewestPage() const
{
    return getPropertyBool(node, QStringLiteral("show_newest_page"));
}

bool XMLAction::hasShowNewestPage() const
{
    return hasProperty(node, QStringLiteral("show_newest_page"));
}

bool XMLAction::isEnabled() const
{
    return readsAsTrueOrMissing(getProperty(node, QStringLiteral("enabled")));
}

bool XMLAction::hasEnabled() const
{
    return hasProperty(node, QStringLiteral("enabled"));
}

void XMLAction::setCheckable(bool b)
{
    setProperty(node, QStringLiteral("checkable"), b);
}

bool XMLAction::isCheckable() const
{
    return getPropertyBool(node, QStringLiteral("checkable"));
}

bool XMLAction::hasCheckable() const
{
    return hasProperty(node, QStringLiteral("checkable"));
}

bool XMLAction::isChecked() const
{
    return getPropertyBool(node, QStringLiteral("checked"));
}

bool XMLAction::hasChecked() const
{
    return hasProperty(node, QStringLiteral("checked"));
}

void XMLAction::setSelected(bool b)
{
    setProperty(node, QStringLiteral("selected"), b);
}

bool XMLAction::isSelected() const
{
    return getPropertyBool(node, QStringLiteral("selected"));
}

bool XMLAction::hasSelected() const
{
    return hasProperty(node, QStringLiteral("selected"));
}

void XMLAction::setOrgName(const QString &orgName)
{
    setOrgName(node, orgName);
}

void XMLAction::setOrgName(QDomElement &action, const QString &orgName)
{
    setProperty(action, QStringLiteral("org_name"), orgName);
}

QString XMLAction::getOrgName() const
{
    return getProperty(node, QStringLiteral("org_name"));
}

void XMLAction::setZQKEY(const ZQKEY_ELEMENT &key)
{
    setProperty(node, QStringLiteral("zqkey_hkey"), key.hkey, 16);
    setProperty(node, QStringLiteral("zqkey_key"), key.key, 16);
}

ZQKEY_ELEMENT XMLAction::getZQKEY() const
{
    ZQKEY_ELEMENT key{};
    key.hkey = static_cast<unsigned int>(getPropertyULong(node, QStringLiteral("zqkey_hkey"), 16));
    key.key = static_cast<unsigned int>(getPropertyULong(node, QStringLiteral("zqkey_key"), 16));
    return key;
}

bool XMLAction::hasZQKEY() const
{
    return hasProperty(node, QStringLiteral("zqkey_hkey")) && hasProperty(node, QStringLiteral("zqkey_key"));
}

void XMLAction::setZQKEYList(const QList<ZQKEY_ELEMENT *> &elements)
{
    QList<unsigned int> hkeys;
    QList<unsigned int> keys;
    for (const ZQKEY_ELEMENT *const element : elements) {
        if (!element)
            continue;
        hkeys.append(element->hkey);
        keys.append(element->key);
    }
    setProperty(node, QStringLiteral("zqkey_hkey_list"), hkeys, 16);
    setProperty(node, QStringLiteral("zqkey_key_list"), keys, 16);
}

QList<ZQKEY_ELEMENT *> XMLAction::getZQKEYList() const
{
    const QList<unsigned int> hkeys = getPropertyULongList(node, QStringLiteral("zqkey_hkey_list"), 16);
    const QList<unsigned int> keys = getPropertyULongList(node, QStringLiteral("zqkey_key_list"), 16);
    QList<ZQKEY_ELEMENT *> elements;
    for (int i = 0; i < std::min(hkeys.size(), keys.size()); ++i)
        elements.append(new ZQKEY_ELEMENT{keys.at(i), hkeys.at(i)});
    return elements;
}

bool XMLAction::hasZQKEYList() const
{
    return hasProperty(node, QStringLiteral("zqkey_hkey_list")) && hasProperty(node, QStringLiteral("zqkey_key_list"));
}

void XMLAction::setJobIDs(const QList<int> &ids)
{
    setProperty(node, QStringLiteral("jobids"), ids, 16);
}

void XMLAction::setJobID(int id)
{
    setJobIDs(QList<int>{id});
}

QList<int> XMLAction::getJobIDs() const
{
    return getPropertyLongList(node, QStringLiteral("jobids"), 16);
}

int XMLAction::getJobID() const
{
    return getJobIDs().value(0, 0);
}

bool XMLAction::hasJobIDs() const
{
    return hasProperty(node, QStringLiteral("jobids"));
}

bool XMLAction::hasJobID() const
{
    return hasJobIDs();
}

void XMLAction::setZQJobIDs(const QList<int> &ids)
{
    setProperty(node, QStringLiteral("zqjobids"), ids, 16);
}

void XMLAction::setZQJobID(int id)
{
    setZQJobIDs(QList<int>{id});
}

QList<int> XMLAction::getZQJobIDs() const
{
    return getPropertyLongList(node, QStringLiteral("zqjobids"), 16);
}

int XMLAction::getZQJobID() const
{
    return getZQJobIDs().value(0, 0);
}

bool XMLAction::hasZQJobIDs() const
{
    return hasProperty(node, QStringLiteral("zqjobids"));
}

bool XMLAction::hasZQJobID() const
{
    return hasZQJobIDs();
}

void XMLAction::setPageNumber(int value)
{
    setProperty(node, QStringLiteral("pagenum"), value);
}

int XMLAction::getPageNumber() const
{
    return static_cast<int>(getPropertyLong(node, QStringLiteral("pagenum")));
}

bool XMLAction::hasPageNumber() const
{
    return hasProperty(node, QStringLiteral("pagenum"));
}

void XMLAction::setChannelID(unsigned int value)
{
    setProperty(node, QStringLiteral("channel_id"), value, 16);
}

unsigned int XMLAction::getChannelID() const
{
    return static_cast<unsigned int>(getPropertyULong(node, QStringLiteral("channel_id"), 16));
}

bool XMLAction::hasChannelID() const
{
    return hasProperty(node, QStringLiteral("channel_id"));
}

void XMLAction::setIndex(int value)
{
    setProperty(node, QStringLiteral("index"), value);
}

int XMLAction::getIndex() const
{
    return getPropertyInt(node, QStringLiteral("index"));
}

bool XMLAction::hasIndex() const
{
    return hasProperty(node, QStringLiteral("index"));
}

void XMLAction::setX(int value)
{
    setProperty(node, QStringLiteral("x"), value);
}

int XMLAction::getX() const
{
    return getPropertyInt(node, QStringLiteral("x"));
}

bool XMLAction::hasX() const
{
    return hasProperty(node, QStringLiteral("x"));
}

void XMLAction::setY(int value)
{
    setProperty(node, QStringLiteral("y"), value);
}

int XMLAction::getY() const
{
    return getPropertyInt(node, QStringLiteral("y"));
}

bool XMLAction::hasY() const
{
    return hasProperty(node, QStringLiteral("y"));
}

void XMLAction::setXDouble(double value)
{
    setProperty(node, QStringLiteral("x_double"), value);
}

double XMLAction::getXDouble() const
{
    return getPropertyDouble(node, QStringLiteral("x_double"));
}

bool XMLAction::hasXDouble() const
{
    return hasProperty(node, QStringLiteral("x_double"));
}

void XMLAction::setYDouble(double value)
{
    setProperty(node, QStringLiteral("y_double"), value);
}

double XMLAction::getYDouble() const
{
    return getPropertyDouble(node, QStringLiteral("y_double"));
}

bool XMLAction::hasYDouble() const
{
    return hasProperty(node, QStringLiteral("y_double"));
}

void XMLAction::setColour(unsigned int value)
{
    setProperty(node, QStringLiteral("colour"), value, 16);
}

unsigned int XMLAction::getColour() const
{
    const QString text = getProperty(node, QStringLiteral("colour"));
    return text.isNull() ? 0xFFFFFFu : text.toUInt(nullptr, 16);
}

bool XMLAction::hasColour() const
{
    return hasProperty(node, QStringLiteral("colour"));
}

void XMLAction::setNeedUpdate(bool b)
{
    setProperty(node, QStringLiteral("need_update"), b);
}

bool XMLAction::getNeedUpdate() const
{
    return getPropertyBool(node, QStringLiteral("need_update"));
}

bool XMLAction::hasNeedUpdate() const
{
    return hasProperty(node, QStringLiteral("need_update"));
}

void XMLAction::setExcludePublications(bool b)
{
    setProperty(node, QStringLiteral("exclude_publications"), b);
}

bool XMLAction::getExcludePublications() const
{
    return getPropertyBool(node, QStringLiteral("exclude_publications"));
}

bool XMLAction::hasExcludePublications() const
{
    return hasProperty(node, QStringLiteral("exclude_publications"));
}

void XMLAction::setPaintPixmap(bool b)
{
    setProperty(node, QStringLiteral("paint_pixmap"), b);
}

bool XMLAction::getPaintPixmap() const
{
    return getPropertyBool(node, QStringLiteral("paint_pixmap"));
}

bool XMLAction::hasPaintPixmap() const
{
    return hasProperty(node, QStringLiteral("paint_pixmap"));
}

void XMLAction::setSortAscending(bool b)
{
    setProperty(node, QStringLiteral("sort_ascending"), b);
}

bool XMLAction::getSortAscending() const
{
    return getPropertyBool(node, QStringLiteral("sort_ascending"));
}

bool XMLAction::hasSortAscending() const
{
    return hasProperty(node, QStringLiteral("sort_ascending"));
}

void XMLAction::setSortType(int value)
{
    setProperty(node, QStringLiteral("sort_type"), value);
}

int XMLAction::getSortType() const
{
    return getPropertyInt(node, QStringLiteral("sort_type"));
}

bool XMLAction::hasSortType() const
{
    return hasProperty(node, QStringLiteral("sort_type"));
}

QDomElement XMLAction::append(ZQPacketable &record)
{
    XMLPacketable converted;
    converted.setData(record);
    return node.isNull() ? QDomElement() : node.appendChild(converted.getNodeConst()).toElement();
}

QDomElement XMLAction::append(XMLPacketable &object)
{
    return node.isNull() ? QDomElement() : node.appendChild(object.getNode().cloneNode(true)).toElement();
}

bool XMLAction::hasNodesOfType(XMLOBJECT_TYPE type)
{
    return XMLObject::hasNodesOfType(node, type);
}

int XMLAction::getNodesOfType(XMLOBJECT_TYPE type, std::list<QDomNode> &out)
{
    return XMLObject::getNodesOfType(node, type, out);
}

void XMLAction::removeNodesOfType(XMLOBJECT_TYPE type)
{
    XMLObject::removeNodesOfType(node, type);
}

void XMLAction::setRect(int x, int y, int width, int height)
{
    rectangle = QRect(x, y, width, height);
}

QRect XMLAction::rect() const
{
    return rectangle;
}

void XMLAction::setTextRect(int x, int y, int width, int height)
{
    textRectangle = QRect(x, y, width, height);
}

QRect XMLAction::textRect() const
{
    return textRectangle;
}

void XMLAction::setActionGroup(XMLActionGroup *newGroup)
{
    group = newGroup;
}

XMLActionGroup *XMLAction::actionGroup() const
{
    return group;
}

void XMLAction::print(const QString &title)
{
    std::printf("-- %s --\n%s\n", title.toUtf8().constData(), toString(node).toUtf8().constData());
}

void XMLAction::toggle()
{
    setChecked(!isChecked());
}

void XMLAction::setChecked(bool b)
{
    // On purpose: no look at "checkable" and no comparison with the old value. Each call emits toggled() once, and the
    // exclusive group depends on that. What is emitted is what can be read back.
    setProperty(node, QStringLiteral("checked"), b);
    Q_EMIT toggled(isChecked());
}

void XMLAction::setEnabled(bool b)
{
    setProperty(node, QStringLiteral("enabled"), b);
}
