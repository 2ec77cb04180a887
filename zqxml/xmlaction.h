// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef ZQXML_XMLACTION_H
#define ZQXML_XMLACTION_H

#include <recordlib/zqlib.h>
#include <zqxml/xmlobject.h>

#include <QRect>

class XMLActionGroup;
class XMLPacketable;
class ZQPacketable;

/**
 * One user-interface action, or one request, that travels between agents: a bag of named, typed, optional properties.
 * \code
 * <action name="jobs" type="1003" originator="7">
 *  <exclude_publications>0</exclude_publications>
 * </action>
 * \endcode
 * Name, type and originator are attributes; the rest are properties, child elements that hold their value as text. The
 * number base of each is part of the wire vocabulary. A getter gives its default only where the property is missing;
 * one that is malformed reads as false, 0 or an empty list. An action may carry records as further children.
 *
 * Two rectangles and the exclusive group are kept beside the XML: they never travel, and setNode() leaves them alone.
 * Signals are emitted before the call that causes them returns.
 */
class ZQXML_EXPORT XMLAction : public XMLObject
{
    Q_OBJECT

public:
    /** Makes an empty "action" element. */
    XMLAction();

    /** Makes an "action" element with the attributes "name", "type" and "originator"; an empty name writes none. */
    XMLAction(const QString &name, int type, int originator);

    /** The action's group is not told; it watches for the end of its members itself. */
    ~XMLAction() override;

    void setName(const QString &name); ///< Writes the attribute "name"; an empty one writes nothing.
    static void setName(QDomElement &action, const QString &name); ///< Writes the "name" of another "action" element.
    QString getName() const; ///< Returns the attribute "name"; null when it is missing.

    void setType(int type); ///< Writes the attribute "type", in decimal.
    int getType() const; ///< Returns the attribute "type"; 0 when it is missing or no number.

    void setOriginator(int originator); ///< Writes the attribute "originator", in decimal.
    int getOriginator(); ///< Returns the attribute "originator"; 0 when it is missing or no number.

    static void setVisible(QDomElement &action, bool b); ///< Writes "visible" of another "action" element.
    static void setOrgName(QDomElement &action, const QString &orgName); ///< Writes "org_name" of another "action".

    void setVisible(bool b); ///< Writes the property "visible".
    bool getVisible() const; ///< Returns the property "visible"; true when it is missing.
    bool hasVisible() const; ///< Returns whether "visible" is present.

    void setShowNewestPage(bool b); ///< Writes the property "show_newest_page".
    bool getShowNewestPage() const; ///< Returns the property "show_newest_page"; false when it is missing.
    bool hasShowNewestPage() const; ///< Returns whether "show_newest_page" is present.

    bool isEnabled() const; ///< Returns the property "enabled"; true when it is missing.
    bool hasEnabled() const; ///< Returns whether "enabled" is present.

    void setCheckable(bool b); ///< Writes the property "checkable".
    bool isCheckable() const; ///< Returns the property "checkable"; false when it is missing.
    bool hasCheckable() const; ///< Returns whether "checkable" is present.

    bool isChecked() const; ///< Returns the property "checked"; false when it is missing.
    bool hasChecked() const; ///< Returns whether "checked" is present.

    void setSelected(bool b); ///< Writes the property "selected".
    bool isSelected() const; ///< Returns the property "selected"; false when it is missing.
    bool hasSelected() const; ///< Returns whether "selected" is present.

    void setOrgName(const QString &orgName); ///< Writes the property "org_name", an empty one too.
    QString getOrgName() const; ///< Returns the property "org_name"; null when it is missing.

    void setZQKEY(const ZQKEY_ELEMENT &key); ///< Writes "zqkey_hkey" and "zqkey_key", each in base 16.
    ZQKEY_ELEMENT getZQKEY() const; ///< Returns the key; a missing half reads as 0.
    bool hasZQKEY() const; ///< Returns whether both halves of the key are present.

    /**
     * Writes the keys as the two lists "zqkey_hkey_list" and "zqkey_key_list", in base 16; null entries are left out.
     * The elements stay the caller's.
     * \code
     * <zqkey_hkey_list>7 0</zqkey_hkey_list><zqkey_key_list>a3 2c</zqkey_key_list>
     * \endcode
     */
    void setZQKEYList(const QList<ZQKEY_ELEMENT *> &keys);

    /**
     * Returns the keys as new elements, which the caller deletes; as many as the shorter of the two lists has. A list
     * that is missing or malformed is empty.
     */
    QList<ZQKEY_ELEMENT *> getZQKEYList() const;

    bool hasZQKEYList() const; ///< Returns whether both lists are present.

    void setJobIDs(const QList<int> &ids); ///< Writes the property "jobids", a list in base 16.
    void setJobID(int id); ///< Writes a list of one, in place of any earlier list.
    QList<int> getJobIDs() const; ///< Returns the list "jobids"; empty when it is missing or malformed.
    int getJobID() const; ///< Returns the first of the list "jobids"; 0 when there is none.
    bool hasJobIDs() const; ///< Returns whether "jobids" is present.
    bool hasJobID() const; ///< Returns whether "jobids" is present.

    void setZQJobIDs(const QList<int> &ids); ///< Writes the property "zqjobids", a list in base 16.
    void setZQJobID(int id); ///< Writes a list of one, in place of any earlier list.
    QList<int> getZQJobIDs() const; ///< Returns the list "zqjobids"; empty when it is missing or malformed.
    int getZQJobID() const; ///< Returns the first of the list "zqjobids"; 0 when there is none.
    bool hasZQJobIDs() const; ///< Returns whether "zqjobids" is present.
    bool hasZQJobID() const; ///< Returns whether "zqjobids" is present.

    void setPageNumber(int value); ///< Writes the property "pagenum", in decimal.
    int getPageNumber() const; ///< Returns the property "pagenum"; 0 when it is missing.
    bool hasPageNumber() const; ///< Returns whether "pagenum" is present.

    void setChannelID(unsigned int value); ///< Writes the property "channel_id", in base 16.
    unsigned int getChannelID() const; ///< Returns the property "channel_id"; 0 when it is missing.
    bool hasChannelID() const; ///< Returns whether "channel_id" is present.

    void setIndex(int value); ///< Writes the property "index", in decimal.
    int getIndex() const; ///< Returns the property "index"; 0 when it is missing.
    bool hasIndex() const; ///< Returns whether "index" is present.

    void setX(int value); ///< Writes the property "x", in decimal.
    int getX() const; ///< Returns the property "x"; 0 when it is missing.
    bool hasX() const; ///< Returns whether "x" is present.

    void setY(int value); ///< Writes the property "y", in decimal.
    int getY() const; ///< Returns the property "y"; 0 when it is missing.
    bool hasY() const; ///< Returns whether "y" is present.

    void setXDouble(double value); ///< Writes the property "x_double", with six significant digits.
    double getXDouble() const; ///< Returns the property "x_double"; 0.0 when it is missing.
    bool hasXDouble() const; ///< Returns whether "x_double" is present.

    void setYDouble(double value); ///< Writes the property "y_double", with six significant digits.
    double getYDouble() const; ///< Returns the property "y_double"; 0.0 when it is missing.
    bool hasYDouble() const; ///< Returns whether "y_double" is present.

    void setColour(unsigned int value); ///< Writes the property "colour", in base 16, 0xRRGGBB.
    unsigned int getColour() const; ///< Returns the property "colour"; 0xFFFFFF when it is missing.
    bool hasColour() const; ///< Returns whether "colour" is present.

    void setNeedUpdate(bool b); ///< Writes the property "need_update".
    bool getNeedUpdate() const; ///< Returns the property "need_update"; false when it is missing.
    bool hasNeedUpdate() const; ///< Returns whether "need_update" is present.

    void setExcludePublications(bool b); ///< Writes the property "exclude_publications".
    bool getExcludePublications() const; ///< Returns the property "exclude_publications"; false when it is missing.
    bool hasExcludePublications() const; ///< Returns whether "exclude_publications" is present.

    void setPaintPixmap(bool b); ///< Writes the property "paint_pixmap".
    bool getPaintPixmap() const; ///< Returns the property "paint_pixmap"; false when it is missing.
    bool hasPaintPixmap() const; ///< Returns whether "paint_pixmap" is present.

    void setSortAscending(bool b); ///< Writes the property "sort_ascending".
    bool getSortAscending() const; ///< Returns the property "sort_ascending"; false when it is missing.
    bool hasSortAscending() const; ///< Returns whether "sort_ascending" is present.

    void setSortType(int value); ///< Writes the property "sort_type", in decimal.
    int getSortType() const; ///< Returns the property "sort_type"; 0 when it is missing.
    bool hasSortType() const; ///< Returns whether "sort_type" is present.

    /**
     * Converts \a record, which is only read, appends its "packetable" element, and returns that.
     * \sa XMLPacketable::setData()
     */
    QDomElement append(ZQPacketable &record);

    /** Appends a deep copy of the object's element and returns the copy. \sa ~XMLObject(), for when both are gone */
    QDomElement append(XMLPacketable &object);

    /** Returns true when the action has a direct child of kind \a type. */
    bool hasNodesOfType(XMLOBJECT_TYPE type);

    /** Appends handles to the direct children of kind \a type to \a out and returns how many. */
    int getNodesOfType(XMLOBJECT_TYPE type, std::list<QDomNode> &out);

    /** Removes the direct children of kind \a type. */
    void removeNodesOfType(XMLOBJECT_TYPE type);

    /** Stores the rectangle with left \a x, top \a y and the given size, in the view's own units. */
    void setRect(int x, int y, int width, int height);
    QRect rect() const; ///< Returns the stored rectangle; null at first.

    /** Stores the rectangle of the action's text. \sa setRect() */
    void setTextRect(int x, int y, int width, int height);
    QRect textRect() const; ///< Returns the stored rectangle of the text; null at first.

    /** Stores the pointer and nothing else; use XMLActionGroup::addAction(). The group is not taken over. */
    void setActionGroup(XMLActionGroup *newGroup);
    XMLActionGroup *actionGroup() const; ///< Returns the group that holds the action, null for none; not owned.

    /** Writes \a title and the action's element to standard output, in UTF-8. */
    void print(const QString &title);

Q_SIGNALS:
    /** Emitted by every setChecked(), whether it changed anything or not, with the state that the action has then. */
    void toggled(bool checked);

    /**
     * Asks before a toggle; the receiver writes its answer into \a cancel. The application's to emit: nothing in this
     * library does. Mind that XMLActionGroup::approveToggle() writes true for "go on".
     */
    void toggling(bool &cancel);

public Q_SLOTS:
    /** Checks an unchecked action and unchecks a checked one. */
    void toggle();

    /** Writes the property "checked" and emits toggled(), whether or not the action is checkable or changes. */
    void setChecked(bool b);

    /** Writes the property "enabled". */
    void setEnabled(bool b);

private:
    QRect rectangle;
    QRect textRectangle;
    XMLActionGroup *group;
};

#endif
