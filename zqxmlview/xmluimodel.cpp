// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "xmluimodel.h"

#include "actionparts_p.h"
#include "rowsteps_p.h"

#include <zqxml/xmlaction.h>
#include <zqxml/xmlimage.h>
#include <zqxml/xmlui.h>

#include <QPair>

#include <algorithm>
#include <iterator>

namespace {

/** Returns the property \a key, a switch, or \a missing. */
bool readSwitch(const QDomElement &action, const QString &key, bool missing)
{
    return XMLObject::hasProperty(action, key) ? XMLObject::getPropertyBool(action, key) : missing;
}

} // namespace

struct Q_DECL_HIDDEN XMLUIModel::Item {
    int type;
    int originator;
    int occurrence; // of this type and originator
    ActionParts parts; // as the owner sent them
    bool isChangedHere; // "checked" is not what the parts say
    QString name;
    QString orgName;
    bool isEnabled;
    bool isVisible;
    bool isCheckable;
    bool isChecked;
    bool isSelected;
    QRect rect;
    QRect textRect;

    void read(const QDomElement &action)
    {
        name = parts.attribute(QStringLiteral("name"));
        orgName = XMLObject::getProperty(action, QStringLiteral("org_name"));
        isEnabled = readSwitch(action, QStringLiteral("enabled"), true);
        isVisible = readSwitch(action, QStringLiteral("visible"), true);
        isCheckable = readSwitch(action, QStringLiteral("checkable"), false);
        isChecked = readSwitch(action, QStringLiteral("checked"), false);
        isSelected = readSwitch(action, QStringLiteral("selected"), false);
        isChangedHere = false;
    }
};

struct Q_DECL_HIDDEN XMLUIModel::Incoming {
    QDomElement element;
    const Item *equal; // that has been shown in its row, and shows just this
    ActionParts parts; // unless there is one
    int type;
    int originator;
    int occurrence;

    bool isSame(const Item &item) const
    {
        return type == item.type && originator == item.originator && occurrence == item.occurrence;
    }

    void fill(Item &item)
    {
        item.parts = parts.isEmpty() ? ActionParts(element) : std::move(parts);
        item.read(element);
        equal = &item;
    }
};

XMLUIModel::XMLUIModel(QObject *parent) : QAbstractListModel(parent), groupCount(0), updates(0) { }

XMLUIModel::~XMLUIModel() = default;

QString XMLUIModel::name() const
{
    return uiName;
}

void XMLUIModel::setUI(const XMLUI &ui)
{
    setUI(ui.getNode());
}

void XMLUIModel::setUI(const QDomElement &ui)
{
    const unsigned int present = ++updates;
    const QString name = XMLObject::getAttribute(ui, QStringLiteral("name"));
    bool isChanged = name != uiName;
    uiName = name;
    std::vector<Incoming> incoming = read(ui, items);
    isChanged |= rearrange(incoming);
    // A slot that shows another user interface meanwhile has the last word.
    for (std::size_t row = 0; updates == present && row < incoming.size(); ++row) {
        Item &item = *items[row];
        Incoming &next = incoming[row];
        if (!item.isChangedHere && (next.equal == &item || item.parts.isOf(next.element)))
            continue;
        next.fill(item);
        emitChange(static_cast<int>(row));
        isChanged = true;
    }
    if (updates == present && isChanged)
        Q_EMIT updated();
}

void XMLUIModel::clear()
{
    setUI(QDomElement());
}

std::vector<XMLUIModel::Incoming> XMLUIModel::read(const QDomElement &ui,
                                                   const std::vector<std::unique_ptr<Item>> &shown)
{
    const QString tagName = XMLObject::rootNodeName(XMLObject::XML_ACTION);
    std::vector<Incoming> incoming;
    incoming.reserve(shown.size());
    QHash<quint64, int> occurrences; // by type and originator
    for (QDomNode node = ui.firstChild(); !node.isNull(); node = node.nextSibling()) {
        if (!node.isElement())
            continue;
        const QDomElement element = node.toElement();
        const Item *const present = incoming.size() < shown.size() ? shown[incoming.size()].get() : nullptr;
        const bool isEqual = present && present->parts.isOf(element);
        if (!isEqual && node.nodeName() != tagName)
            continue;
        Incoming next{element, isEqual ? present : nullptr, ActionParts(), 0, 0, 0};
        if (!isEqual)
            next.parts = ActionParts(element);
        next.type = isEqual ? present->type : next.parts.attribute(QStringLiteral("type")).toInt();
        next.originator = isEqual ? present->originator : next.parts.attribute(QStringLiteral("originator")).toInt();
        next.occurrence = occurrences[quint64(quint32(next.type)) << 32 | quint32(next.originator)]++;
        incoming.push_back(std::move(next));
    }
    return incoming;
}

bool XMLUIModel::rearrange(std::vector<Incoming> &incoming)
{
    const auto isSame = [](const Incoming &next, const auto &item) { return next.isSame(*item); };
    if (std::equal(incoming.begin(), incoming.end(), items.begin(), items.end(), isSame))
        return false;
    QHash<QPair<QPair<int, int>, int>, int> rows;
    for (std::size_t row = 0; row < incoming.size(); ++row) {
        const Incoming &next = incoming[row];
        rows.insert(qMakePair(qMakePair(next.type, next.originator), next.occurrence), static_cast<int>(row));
    }
    std::vector<int> present;
    for (const auto &item : items)
        present.push_back(rows.value(qMakePair(qMakePair(item->type, item->originator), item->occurrence), -1));

    const unsigned int update = updates;
    for (const RowStep &step : rowSteps(std::move(present), static_cast<int>(incoming.size()))) {
        if (updates != update)
            break;
        const auto first = items.begin() + step.row;
        switch (step.kind) {
        case RowStep::Remove:
            beginRemoveRows(QModelIndex(), step.row, step.row + step.value - 1);
            items.erase(first, first + step.value);
            endRemoveRows();
            break;
        case RowStep::Move: {
            const bool isDown = step.value > step.row;
            beginMoveRows(QModelIndex(), step.row, step.row, QModelIndex(), isDown ? step.value + 1 : step.value);
            const auto to = items.begin() + step.value;
            std::rotate(std::min(first, to), isDown ? first + 1 : first, std::max(first, to) + 1);
            endMoveRows();
            break;
        }
        case RowStep::Insert:
            insertItems(step.row, step.value, incoming);
            break;
        }
    }
    return true;
}

void XMLUIModel::insertItems(int row, int count, std::vector<Incoming> &incoming)
{
    beginInsertRows(QModelIndex(), row, row + count - 1);
    std::vector<std::unique_ptr<Item>> fresh;
    for (int i = row; i < row + count; ++i) {
        Incoming &next = incoming[static_cast<std::size_t>(i)];
        auto item = std::make_unique<Item>();
        item->type = next.type;
        item->originator = next.originator;
        item->occurrence = next.occurrence;
        next.fill(*item);
        fresh.push_back(std::move(item));
    }
    items.insert(items.begin() + row, std::make_move_iterator(fresh.begin()), std::make_move_iterator(fresh.end()));
    endInsertRows();
}

void XMLUIModel::setImage(const XMLImage &image)
{
    const QString imageName = image.getName();
    if (image.getURL() == images.value(imageName))
        return;
    if (image.getURL().isEmpty())
        images.remove(imageName);
    else
        images.insert(imageName, image.getURL());
    for (int row = 0; row < rowCount(); ++row) {
        const Item &item = *items[static_cast<std::size_t>(row)];
        if (imageName == (item.orgName.isEmpty() ? item.name : item.orgName))
            emitChange(row);
    }
}

QString XMLUIModel::imageOf(const Item &item) const
{
    return images.value(item.orgName.isEmpty() ? item.name : item.orgName);
}

void XMLUIModel::addExclusiveGroup(const QList<int> &types)
{
    for (const int type : types)
        groups.insert(type, groupCount);
    ++groupCount;
    if (!items.empty())
        Q_EMIT dataChanged(index(0), index(rowCount() - 1));
}

int XMLUIModel::exclusiveGroupOf(int type) const
{
    return groups.value(type, -1);
}

void XMLUIModel::trigger(int row)
{
    if (row < 0 || row >= rowCount())
        return;
    Item &item = *items[static_cast<std::size_t>(row)];
    const bool isMember = item.isCheckable && groups.contains(item.type);
    if (!item.isEnabled || !item.isVisible || (isMember && item.isChecked))
        return;
    XMLAction holder;
    XMLAction action;
    action.setNode(item.parts.appendTo(holder.getNode()));
    std::vector<int> changed;
    if (item.isCheckable) {
        item.isChecked = !item.isChecked;
        item.isChangedHere = true;
        changed.push_back(row);
        if (isMember)
            uncheckOthers(row, changed);
    }
    if (item.isChangedHere) // which an action that is no switch is too, once its group has unchecked it
        action.setChecked(item.isChecked);
    for (const int each : changed)
        emitChange(each);
    Q_EMIT triggered(action);
}

void XMLUIModel::uncheckOthers(int row, std::vector<int> &changed)
{
    const int group = exclusiveGroupOf(items[static_cast<std::size_t>(row)]->type);
    for (int other = 0; other < rowCount(); ++other) {
        Item &item = *items[static_cast<std::size_t>(other)];
        if (other == row || !item.isChecked || exclusiveGroupOf(item.type) != group)
            continue;
        item.isChecked = false;
        item.isChangedHere = true;
        changed.push_back(other);
    }
}

void XMLUIModel::emitChange(int row)
{
    Q_EMIT dataChanged(index(row), index(row));
}

int XMLUIModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(items.size());
}

QVariant XMLUIModel::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid))
        return QVariant();
    const Item &item = *items[static_cast<std::size_t>(index.row())];
    switch (role) {
    case Qt::DisplayRole:
    case Qt::EditRole:
    case NameRole:
        return item.name;
    case TypeRole:
        return item.type;
    case OriginatorRole:
        return item.originator;
    case OccurrenceRole:
        return item.occurrence;
    case OrgNameRole:
        return item.orgName;
    case EnabledRole:
        return item.isEnabled;
    case VisibleRole:
        return item.isVisible;
    case CheckableRole:
        return item.isCheckable;
    case CheckedRole:
        return item.isChecked;
    case SelectedRole:
        return item.isSelected;
    case RectRole:
        return item.rect;
    case TextRectRole:
        return item.textRect;
    case ImageRole:
        return imageOf(item);
    default:
        return QVariant();
    }
}

bool XMLUIModel::setData(const QModelIndex &index, const QVariant &value, int role)
{
    const bool isRect = (role == RectRole || role == TextRectRole) && value.canConvert<QRect>();
    if (!isRect || !checkIndex(index, CheckIndexOption::IndexIsValid))
        return false;
    Item &item = *items[static_cast<std::size_t>(index.row())];
    (role == RectRole ? item.rect : item.textRect) = value.toRect();
    Q_EMIT dataChanged(index, index, {role});
    return true;
}

QHash<int, QByteArray> XMLUIModel::roleNames() const
{
    return {{Qt::DisplayRole, "display"},
            {NameRole, "name"},
            {TypeRole, "type"},
            {OriginatorRole, "originator"},
            {OccurrenceRole, "occurrence"},
            {OrgNameRole, "orgName"},
            {EnabledRole, "enabled"},
            {VisibleRole, "visible"},
            {CheckableRole, "checkable"},
            {CheckedRole, "checked"},
            {SelectedRole, "selected"},
            {RectRole, "rect"},
            {TextRectRole, "textRect"},
            {ImageRole, "image"}};
}
