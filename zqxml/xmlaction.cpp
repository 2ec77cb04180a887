// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "xmlaction.h"

#include "constants_p.h"
#include "xmlpacketable.h"

#include <algorithm>
#include <cstdio>

namespace {

ZQXML_CONSTANT NAME = QStringLiteral("name");
ZQXML_CONSTANT TYPE = QStringLiteral("type");
ZQXML_CONSTANT ORIGINATOR = QStringLiteral("originator");
ZQXML_CONSTANT VISIBLE = QStringLiteral("visible");
ZQXML_CONSTANT SHOW_NEWEST_PAGE = QStringLiteral("show_newest_page");
ZQXML_CONSTANT ENABLED = QStringLiteral("enabled");
ZQXML_CONSTANT CHECKABLE = QStringLiteral("checkable");
ZQXML_CONSTANT CHECKED = QStringLiteral("checked");
ZQXML_CONSTANT SELECTED = QStringLiteral("selected");
ZQXML_CONSTANT ORG_NAME = QStringLiteral("org_name");
ZQXML_CONSTANT ZQKEY_HKEY = QStringLiteral("zqkey_hkey");
ZQXML_CONSTANT ZQKEY_KEY = QStringLiteral("zqkey_key");
ZQXML_CONSTANT ZQKEY_HKEY_LIST = QStringLiteral("zqkey_hkey_list");
ZQXML_CONSTANT ZQKEY_KEY_LIST = QStringLiteral("zqkey_key_list");
ZQXML_CONSTANT JOBIDS = QStringLiteral("jobids");
ZQXML_CONSTANT ZQJOBIDS = QStringLiteral("zqjobids");
ZQXML_CONSTANT PAGENUM = QStringLiteral("pagenum");
ZQXML_CONSTANT CHANNEL_ID = QStringLiteral("channel_id");
ZQXML_CONSTANT INDEX = QStringLiteral("index");
ZQXML_CONSTANT X = QStringLiteral("x");
ZQXML_CONSTANT Y = QStringLiteral("y");
ZQXML_CONSTANT X_DOUBLE = QStringLiteral("x_double");
ZQXML_CONSTANT Y_DOUBLE = QStringLiteral("y_double");
ZQXML_CONSTANT COLOUR = QStringLiteral("colour");
ZQXML_CONSTANT NEED_UPDATE = QStringLiteral("need_update");
ZQXML_CONSTANT EXCLUDE_PUBLICATIONS = QStringLiteral("exclude_publications");
ZQXML_CONSTANT PAINT_PIXMAP = QStringLiteral("paint_pixmap");
ZQXML_CONSTANT SORT_ASCENDING = QStringLiteral("sort_ascending");
ZQXML_CONSTANT SORT_TYPE = QStringLiteral("sort_type");

// The text of a missing property is null, that of an empty one is not.
QString textOr(const QString &text, const QString &ifMissing)
{
    return text.isNull() ? ifMissing : text;
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
    setAttribute(action, NAME, name);
}

QString XMLAction::getName() const
{
    return getAttribute(node, NAME);
}

void XMLAction::setType(int type)
{
    setAttribute(node, TYPE, type);
}

int XMLAction::getType() const
{
    return getAttributeInt(node, TYPE);
}

void XMLAction::setOriginator(int originator)
{
    setAttribute(node, ORIGINATOR, originator);
}

int XMLAction::getOriginator()
{
    return getAttributeInt(node, ORIGINATOR);
}

void XMLAction::setVisible(bool b)
{
    setVisible(node, b);
}

void XMLAction::setVisible(QDomElement &action, bool b)
{
    setProperty(action, VISIBLE, b);
}

bool XMLAction::getVisible() const
{
    return textOr(getProperty(node, VISIBLE), QStringLiteral("1")).toInt() == 1;
}

bool XMLAction::hasVisible() const
{
    return hasProperty(node, VISIBLE);
}

void XMLAction::setShowNewestPage(bool b)
{
    setProperty(node, SHOW_NEWEST_PAGE, b);
}

bool XMLAction::getShowNewestPage() const
{
    return getPropertyBool(node, SHOW_NEWEST_PAGE);
}

bool XMLAction::hasShowNewestPage() const
{
    return hasProperty(node, SHOW_NEWEST_PAGE);
}

bool XMLAction::isEnabled() const
{
    return textOr(getProperty(node, ENABLED), QStringLiteral("1")).toInt() == 1;
}

bool XMLAction::hasEnabled() const
{
    return hasProperty(node, ENABLED);
}

void XMLAction::setCheckable(bool b)
{
    setProperty(node, CHECKABLE, b);
}

bool XMLAction::isCheckable() const
{
    return getPropertyBool(node, CHECKABLE);
}

bool XMLAction::hasCheckable() const
{
    return hasProperty(node, CHECKABLE);
}

bool XMLAction::isChecked() const
{
    return getPropertyBool(node, CHECKED);
}

bool XMLAction::hasChecked() const
{
    return hasProperty(node, CHECKED);
}

void XMLAction::setSelected(bool b)
{
    setProperty(node, SELECTED, b);
}

bool XMLAction::isSelected() const
{
    return getPropertyBool(node, SELECTED);
}

bool XMLAction::hasSelected() const
{
    return hasProperty(node, SELECTED);
}

void XMLAction::setOrgName(const QString &orgName)
{
    setOrgName(node, orgName);
}

void XMLAction::setOrgName(QDomElement &action, const QString &orgName)
{
    setProperty(action, ORG_NAME, orgName);
}

QString XMLAction::getOrgName() const
{
    return getProperty(node, ORG_NAME);
}

void XMLAction::setZQKEY(const ZQKEY_ELEMENT &key)
{
    setProperty(node, ZQKEY_HKEY, key.hkey, 16);
    setProperty(node, ZQKEY_KEY, key.key, 16);
}

ZQKEY_ELEMENT XMLAction::getZQKEY() const
{
    ZQKEY_ELEMENT key{};
    key.hkey = static_cast<unsigned int>(getPropertyULong(node, ZQKEY_HKEY, 16));
    key.key = static_cast<unsigned int>(getPropertyULong(node, ZQKEY_KEY, 16));
    return key;
}

bool XMLAction::hasZQKEY() const
{
    return hasProperty(node, ZQKEY_HKEY) && hasProperty(node, ZQKEY_KEY);
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
    setProperty(node, ZQKEY_HKEY_LIST, hkeys, 16);
    setProperty(node, ZQKEY_KEY_LIST, keys, 16);
}

QList<ZQKEY_ELEMENT *> XMLAction::getZQKEYList() const
{
    const QList<unsigned int> hkeys = getPropertyULongList(node, ZQKEY_HKEY_LIST, 16);
    const QList<unsigned int> keys = getPropertyULongList(node, ZQKEY_KEY_LIST, 16);
    QList<ZQKEY_ELEMENT *> elements;
    for (int i = 0; i < std::min(hkeys.size(), keys.size()); ++i)
        elements.append(new ZQKEY_ELEMENT{keys.at(i), hkeys.at(i)});
    return elements;
}

bool XMLAction::hasZQKEYList() const
{
    return hasProperty(node, ZQKEY_HKEY_LIST) && hasProperty(node, ZQKEY_KEY_LIST);
}

void XMLAction::setJobIDs(const QList<int> &ids)
{
    setProperty(node, JOBIDS, ids, 16);
}

void XMLAction::setJobID(int id)
{
    setJobIDs(QList<int>{id});
}

QList<int> XMLAction::getJobIDs() const
{
    return getPropertyLongList(node, JOBIDS, 16);
}

int XMLAction::getJobID() const
{
    return getJobIDs().value(0, 0);
}

bool XMLAction::hasJobIDs() const
{
    return hasProperty(node, JOBIDS);
}

bool XMLAction::hasJobID() const
{
    return hasJobIDs();
}

void XMLAction::setZQJobIDs(const QList<int> &ids)
{
    setProperty(node, ZQJOBIDS, ids, 16);
}

void XMLAction::setZQJobID(int id)
{
    setZQJobIDs(QList<int>{id});
}

QList<int> XMLAction::getZQJobIDs() const
{
    return getPropertyLongList(node, ZQJOBIDS, 16);
}

int XMLAction::getZQJobID() const
{
    return getZQJobIDs().value(0, 0);
}

bool XMLAction::hasZQJobIDs() const
{
    return hasProperty(node, ZQJOBIDS);
}

bool XMLAction::hasZQJobID() const
{
    return hasZQJobIDs();
}

void XMLAction::setPageNumber(int value)
{
    setProperty(node, PAGENUM, value);
}

int XMLAction::getPageNumber() const
{
    return static_cast<int>(getPropertyLong(node, PAGENUM));
}

bool XMLAction::hasPageNumber() const
{
    return hasProperty(node, PAGENUM);
}

void XMLAction::setChannelID(unsigned int value)
{
    setProperty(node, CHANNEL_ID, value, 16);
}

unsigned int XMLAction::getChannelID() const
{
    return static_cast<unsigned int>(getPropertyULong(node, CHANNEL_ID, 16));
}

bool XMLAction::hasChannelID() const
{
    return hasProperty(node, CHANNEL_ID);
}

void XMLAction::setIndex(int value)
{
    setProperty(node, INDEX, value);
}

int XMLAction::getIndex() const
{
    return getPropertyInt(node, INDEX);
}

bool XMLAction::hasIndex() const
{
    return hasProperty(node, INDEX);
}

void XMLAction::setX(int value)
{
    setProperty(node, X, value);
}

int XMLAction::getX() const
{
    return getPropertyInt(node, X);
}

bool XMLAction::hasX() const
{
    return hasProperty(node, X);
}

void XMLAction::setY(int value)
{
    setProperty(node, Y, value);
}

int XMLAction::getY() const
{
    return getPropertyInt(node, Y);
}

bool XMLAction::hasY() const
{
    return hasProperty(node, Y);
}

void XMLAction::setXDouble(double value)
{
    setProperty(node, X_DOUBLE, value);
}

double XMLAction::getXDouble() const
{
    return getPropertyDouble(node, X_DOUBLE);
}

bool XMLAction::hasXDouble() const
{
    return hasProperty(node, X_DOUBLE);
}

void XMLAction::setYDouble(double value)
{
    setProperty(node, Y_DOUBLE, value);
}

double XMLAction::getYDouble() const
{
    return getPropertyDouble(node, Y_DOUBLE);
}

bool XMLAction::hasYDouble() const
{
    return hasProperty(node, Y_DOUBLE);
}

void XMLAction::setColour(unsigned int value)
{
    setProperty(node, COLOUR, value, 16);
}

unsigned int XMLAction::getColour() const
{
    return textOr(getProperty(node, COLOUR), QStringLiteral("ffffff")).toUInt(nullptr, 16);
}

bool XMLAction::hasColour() const
{
    return hasProperty(node, COLOUR);
}

void XMLAction::setNeedUpdate(bool b)
{
    setProperty(node, NEED_UPDATE, b);
}

bool XMLAction::getNeedUpdate() const
{
    return getPropertyBool(node, NEED_UPDATE);
}

bool XMLAction::hasNeedUpdate() const
{
    return hasProperty(node, NEED_UPDATE);
}

void XMLAction::setExcludePublications(bool b)
{
    setProperty(node, EXCLUDE_PUBLICATIONS, b);
}

bool XMLAction::getExcludePublications() const
{
    return getPropertyBool(node, EXCLUDE_PUBLICATIONS);
}

bool XMLAction::hasExcludePublications() const
{
    return hasProperty(node, EXCLUDE_PUBLICATIONS);
}

void XMLAction::setPaintPixmap(bool b)
{
    setProperty(node, PAINT_PIXMAP, b);
}

bool XMLAction::getPaintPixmap() const
{
    return getPropertyBool(node, PAINT_PIXMAP);
}

bool XMLAction::hasPaintPixmap() const
{
    return hasProperty(node, PAINT_PIXMAP);
}

void XMLAction::setSortAscending(bool b)
{
    setProperty(node, SORT_ASCENDING, b);
}

bool XMLAction::getSortAscending() const
{
    return getPropertyBool(node, SORT_ASCENDING);
}

bool XMLAction::hasSortAscending() const
{
    return hasProperty(node, SORT_ASCENDING);
}

void XMLAction::setSortType(int value)
{
    setProperty(node, SORT_TYPE, value);
}

int XMLAction::getSortType() const
{
    return getPropertyInt(node, SORT_TYPE);
}

bool XMLAction::hasSortType() const
{
    return hasProperty(node, SORT_TYPE);
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
    setProperty(node, CHECKED, b);
    Q_EMIT toggled(isChecked());
}

void XMLAction::setEnabled(bool b)
{
    setProperty(node, ENABLED, b);
}
