// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef ZQXMLVIEW_XMLUIBINDER_H
#define ZQXMLVIEW_XMLUIBINDER_H

#include <zqxmlview/xmluimodel.h>

#include <QAction>
#include <QHash>
#include <QIcon>
#include <QKeySequence>
#include <QList>
#include <QObject>
#include <QPointer>

#include <map>
#include <memory>
#include <vector>

class QActionGroup;
class QStatusBar;
class XMLMessage;

/**
 * Keeps the actions of a user interface as QActions in menus and tool bars.
 * \code
 * XMLUIBinder binder;
 * binder.addTo(window.menuBar()->addMenu(QStringLiteral("&Job")));
 * binder.setUI(ui); // and again whenever it has changed
 * \endcode
 * An update changes the QActions in place. One that is still there is never made anew, so that no menu closes and
 * nothing flickers. While one of its menus is open, the rows of all of them stay where they are, so that no click hits
 * another action than the one that was aimed at: what goes is disabled, and what comes or moves waits until the menu is
 * closed.
 *
 * Names are shown as text whatever they hold: an "&" is no shortcut and markup is not read; control characters and line
 * breaks become blanks, and a name beyond MAX_TEXT characters ends with dots and is whole in the tool tip.
 */
class ZQXMLVIEW_EXPORT XMLUIBinder : public QObject
{
    Q_OBJECT

public:
    static constexpr int MAX_TEXT = 80; ///< the longest text of a menu item or button, in UTF-16 units

    /** Makes a binder that shows nothing. */
    explicit XMLUIBinder(QObject *parent = nullptr);
    ~XMLUIBinder() override; ///< Takes the actions out of their menus and tool bars, and deletes them.

    /**
     * Returns what is shown, as a list; it stays the binder's. Set the user interface and the exclusive groups there or
     * here, that is the same.
     */
    XMLUIModel *model() const;

    /**
     * Shows the actions in \a widget too, a menu, a tool bar or any other, behind those that it has. The widget is not
     * taken over and may be destroyed at any moment.
     */
    void addTo(QWidget *widget);

    /** Returns the actions in their order, invisible ones included. They are the binder's. */
    QList<QAction *> actions() const;

    /** Returns the action with the given type and originator, the n-th of them; null when there is none. */
    QAction *action(int type, int originator, int occurrence = 0) const;

    /**
     * Gives actions of the type \a type an icon and a shortcut. Of several actions of a type the first has the
     * shortcut. An icon that came as an XMLImage goes before this one.
     */
    void setTemplate(int type, const QIcon &icon, const QKeySequence &shortcut = QKeySequence());

    /** Shows messages in \a newStatusBar, which is not taken over; null for none. */
    void setStatusBar(QStatusBar *newStatusBar);

    void setUI(const XMLUI &ui); ///< \sa XMLUIModel::setUI(const XMLUI &)
    void setImage(const XMLImage &image); ///< \sa XMLUIModel::setImage()
    void addExclusiveGroup(const QList<int> &types); ///< \sa XMLUIModel::addExclusiveGroup()
    void clear(); ///< \sa XMLUIModel::clear()

    /** Shows the text of \a message, as text, in the status bar if there is one, and emits messageShown(). */
    void showMessage(const XMLMessage &message);

Q_SIGNALS:
    /** The user triggered \a action: a copy with "checked" in its new state, which lives until the signal returns. */
    void triggered(XMLAction &action);

    /** A message has come. */
    void messageShown(const QString &text);

private:
    struct Identity;
    struct Shown;

    Identity identityOf(int row) const;
    Shown *shownAt(int row) const;
    void makeActions(int first, int last);
    void parkActions(int first, int last);
    void synchronise(int first, int last);
    void fill(Shown &shown, int row, bool isFrozen);
    QIcon iconOf(const Shown &shown) const;
    void setGroup(Shown &shown);
    void setShortcuts();
    bool isMenuOpen() const;
    void arrange();
    void arrange(QWidget *widget, const QList<QAction *> &wanted);
    void trigger(QAction *action);

    XMLUIModel *const uiModel;
    std::map<Identity, std::unique_ptr<Shown>> shownActions;
    QAction *const end; // invisible, behind the actions in every widget
    QList<QPointer<QWidget>> widgets;
    QHash<int, QIcon> icons; // by type
    QHash<int, QKeySequence> shortcuts; // by type
    QHash<int, QActionGroup *> actionGroups; // by exclusive group
    QPointer<QStatusBar> statusBar;
    int liftDepth; // of what keeps the groups from unchecking anything
    bool isArranged;
};

#endif
