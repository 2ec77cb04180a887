// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef ZQXMLVIEW_XMLUIMODEL_H
#define ZQXMLVIEW_XMLUIMODEL_H

#include <zqxmlview/zqxmlview_export.h>

#include <QAbstractListModel>
#include <QHash>
#include <QList>
#include <QRect>
#include <QString>

#include <memory>
#include <vector>

class ActionParts;
class QDomElement;
class XMLAction;
class XMLImage;
class XMLUI;

/**
 * The actions of a user interface as a list with named roles, for QML and for views of an application's own.
 * \code
 * <ui name="Job"><action name="Hold" type="1" originator="7"><checkable>1</checkable></action></ui>
 * \endcode
 * One row an action, in the order of the user interface, invisible ones included. An update changes the rows in place:
 * an action is the same one as before when its type and its originator are, and it is the n-th of that pair. What is
 * equal to what is shown changes nothing and emits nothing.
 *
 * A trigger acts here at once, and is then the owner's to confirm: the next setUI() counts, whatever was clicked.
 */
class ZQXMLVIEW_EXPORT XMLUIModel : public QAbstractListModel
{
    Q_OBJECT

    /** The name of the user interface. */
    Q_PROPERTY(QString name READ name NOTIFY updated)

public:
    /** What data() tells of an action; names in QML are in quotes. Qt::DisplayRole is the name, as is EditRole. */
    enum Role : int {
        NameRole = Qt::UserRole, ///< "name", text
        TypeRole, ///< "type", a number
        OriginatorRole, ///< "originator", a number
        OccurrenceRole, ///< "occurrence", how many with this type and originator stand before it
        OrgNameRole, ///< "orgName", text
        EnabledRole, ///< "enabled", whether it can be triggered
        VisibleRole, ///< "visible", whether it is to be shown
        CheckableRole, ///< "checkable", whether it is a switch
        CheckedRole, ///< "checked", how the switch stands
        SelectedRole, ///< "selected", whether it is the current one
        RectRole, ///< "rect", where the view has put it; the view sets it, and it stays with the action
        TextRectRole, ///< "textRect", as RectRole, for its text
        ImageRole ///< "image", the location of the image that bears its name; empty without one
    };
    Q_ENUM(Role)

    /** Makes an empty list. */
    explicit XMLUIModel(QObject *parent = nullptr);
    ~XMLUIModel() override;

    QString name() const; ///< Returns the name of the user interface; null before the first and when it has none.

    /** Shows the actions of \a ui, which is only read. */
    void setUI(const XMLUI &ui);

    /** Shows the "action" children of \a ui, a "ui" element; null for none. Other children are passed over. */
    void setUI(const QDomElement &ui);

    /** Shows nothing, as before the first user interface. Images stay. */
    void clear();

    /**
     * Keeps the location of \a image for the actions whose org_name is its name, or whose name is, if they have no
     * org_name. An empty location takes the image away.
     */
    void setImage(const XMLImage &image);

    /**
     * Says that checkable actions of the types \a types exclude each other, beside the groups that were added before; a
     * type is in one group, the last. When a member is checked by a trigger, the others are unchecked here; the checked
     * one cannot be unchecked. What the owner says is shown as it is, even if it checks two.
     */
    void addExclusiveGroup(const QList<int> &types);

    /** Returns the group that the type \a type is in, a number from 0; -1 for none. */
    int exclusiveGroupOf(int type) const;

    /**
     * Does what a click on the action in \a row does: a checkable one changes its state, and triggered() is emitted.
     * Nothing happens for a row that is not there, for an action that is disabled or invisible, and for the checked one
     * of those that exclude each other.
     */
    Q_INVOKABLE void trigger(int row);

    int rowCount(const QModelIndex &parent = QModelIndex()) const override; ///< Returns the number of actions.
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override; ///< \sa Role

    /** Stores a QRect as RectRole or TextRectRole; everything else is the owner's, and false is returned. */
    bool setData(const QModelIndex &index, const QVariant &value, int role = Qt::EditRole) override;

    QHash<int, QByteArray> roleNames() const override; ///< Returns the names of the roles. \sa Role

Q_SIGNALS:
    /** \a action was triggered: a copy with "checked" in its new state, which lives until the signal returns. */
    void triggered(XMLAction &action);

    /** A setUI() or clear() that changed something has been dealt with. */
    void updated();

private:
    struct Item;
    struct Incoming;

    static std::vector<Incoming> read(const QDomElement &ui, const std::vector<std::unique_ptr<Item>> &shown);
    bool rearrange(std::vector<Incoming> &incoming);
    void insertItems(int row, int count, std::vector<Incoming> &incoming);
    void uncheckOthers(int row, std::vector<int> &changed);
    void emitChange(int row);
    QString imageOf(const Item &item) const;

    QString uiName;
    std::vector<std::unique_ptr<Item>> items;
    QHash<QString, QString> images; // locations by name
    QHash<int, int> groups; // by type
    int groupCount;
    unsigned int updates;
};

#endif
