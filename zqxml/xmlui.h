// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef ZQXML_XMLUI_H
#define ZQXML_XMLUI_H

#include <zqxml/xmlobject.h>

class XMLAction;

/**
 * A user interface: a name, and the actions that it offers.
 * \code
 * <ui name="main"><action name="open" type="3" originator="7"/></ui>
 * \endcode
 */
class ZQXML_EXPORT XMLUI : public XMLObject
{
public:
    /** Makes an empty "ui" element. */
    XMLUI();

    /** Makes a "ui" element named \a name. */
    explicit XMLUI(const QString &name);

    void setName(const QString &name); ///< Writes the name; an empty one writes nothing.
    QString getName() const; ///< Returns the name; null when there is none.

    /** Appends a deep copy of the action's element and returns the copy. \sa ~XMLObject(), for when both are gone */
    QDomElement append(XMLAction &action);

    /**
     * Appends a new action for each "action" child, in document order, to \a out and returns how many; what \a out held
     * stays in front of them. With \a visibleOnly those that read as invisible are left out. The caller deletes the
     * actions; each holds a copy, so that changing one does not change the user interface.
     */
    int getActions(QList<XMLAction *> &out, bool visibleOnly);

    /** Appends all actions. \overload */
    int getActions(QList<XMLAction *> &out);

    /**
     * Writes the property "visible" of every action whose attributes "type" and "originator" read as \a type and
     * \a originator; a missing one reads as 0.
     */
    void setActionVisible(int type, int originator, bool visible);

    /** Writes the attribute "name" of the actions that setActionVisible() would change. */
    void setActionName(int type, int originator, const QString &name);

    /** Writes the property "org_name" of the actions that setActionVisible() would change. */
    void setActionOrgName(int type, int originator, const QString &orgName);

    /** Returns how many actions read as visible; one that does not say is visible. */
    int visibleActionCount();
};

#endif
