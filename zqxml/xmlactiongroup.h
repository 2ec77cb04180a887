// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef ZQXML_XMLACTIONGROUP_H
#define ZQXML_XMLACTIONGROUP_H

#include <zqxml/zqxml_export.h>

#include <QList>
#include <QObject>

class XMLAction;

/**
 * Keeps actions mutually exclusive: when a member reports its checked state, every other member is unchecked.
 *
 * What surprises: the report counts, not the state. A member that emits toggled(false) unchecks the others too, so that
 * none stays checked. And the group's current action, checkedAction(), is the first that is "selected", not the one
 * that is checked.
 *
 * The group owns no action and no action owns the group. Members may be destroyed at any moment, and so may the group,
 * in a slot on a member's toggled() too. A group that is destroyed leaves the members' group pointers as they are. A
 * group and its members are used from one thread.
 */
class ZQXML_EXPORT XMLActionGroup : public QObject
{
    Q_OBJECT

public:
    /** Makes an empty group with \a parent; \a name, Latin-1, becomes the object name. */
    explicit XMLActionGroup(QObject *parent = nullptr, const char *name = nullptr);
    ~XMLActionGroup() override; ///< Neither deletes the members nor tells them.

    /**
     * Appends \a action, which stays the caller's, to the members and returns it; null is ignored. Its checked state is
     * not touched, and its toggling() is not connected to approveToggle(): a view that wants the group's approval
     * connects it. On purpose an action can be added twice: it is then listed and connected twice.
     */
    XMLAction *addAction(XMLAction *action);

    /** Checks \a action, and so unchecks the others, if it is an unchecked member; does nothing otherwise. */
    void toggleAction(XMLAction *action);

    /**
     * Returns the members in the order in which they were added; the actions are not the caller's. One that is being
     * destroyed is left out, though the group has not been told yet.
     */
    QList<XMLAction *> actions() const;

    /** Returns the first member that is "selected", whichever is checked; null when there is none. */
    XMLAction *checkedAction() const;

Q_SIGNALS:
    /** The application's to emit, when an action was triggered; the group never does. */
    void triggered(XMLAction *);

protected Q_SLOTS:
    /**
     * Unchecks every member but the sender of the signal, whatever state that reports. Each of them emits toggled() in
     * turn, which does not start another pass. Without a sender nothing happens.
     */
    void updateActions();

// Applications call removeAction(), which is a protected slot for those who look it up by name.
#ifndef Q_MOC_RUN
public:
#endif
    /**
     * Takes the first entry of \a action off the members, clears its group pointer and cuts all its connections to the
     * group; the last two even when it is no member. An action that was added twice stays listed once and is no longer
     * followed. For null, the sender of the signal that is being handled is meant; without one nothing happens.
     */
    void removeAction(XMLAction *action = nullptr);

#ifndef Q_MOC_RUN
protected Q_SLOTS:
#endif
    /**
     * Writes into \a approved whether the sender may toggle: false for a checked member, which may not switch itself
     * off, and true for every other sender and without one. Mind that the receiver of XMLAction::toggling() is asked
     * whether to cancel: the two senses are opposite.
     */
    void approveToggle(bool &approved);

private:
    void release(XMLAction *action);
    void forget(const QObject *destroyed);

    QList<XMLAction *> actionList;
    bool updating;
};

#endif
