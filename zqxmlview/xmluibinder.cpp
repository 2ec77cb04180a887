// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "xmluibinder.h"

#include "rowsteps_p.h"
#include "shownicon_p.h"

#include <zqxml/xmlmessage.h>

#include <QActionGroup>
#include <QFont>
#include <QMenu>
#include <QSet>
#include <QStatusBar>
#include <QTextDocument> // declares Qt::mightBeRichText()

#include <algorithm>
#include <tuple>

namespace {

constexpr int maxToolTip = 1000;

/** Returns \a text on one line, cut off behind \a length characters. */
QString toLine(QString text, int length)
{
    const bool isCut = text.size() > length;
    if (isCut)
        text.truncate(text.at(length - 1).isHighSurrogate() ? length - 1 : length);
    for (QChar &c : text) {
        if (c.category() == QChar::Other_Control || c.category() == QChar::Separator_Line
            || c.category() == QChar::Separator_Paragraph)
            c = QLatin1Char(' ');
    }
    return isCut ? text + QChar(0x2026) : text;
}

QString toLabel(const QString &name)
{
    return toLine(name, XMLUIBinder::MAX_TEXT).replace(QLatin1Char('&'), QLatin1String("&&"));
}

QString toToolTip(const QString &name)
{
    QString line = toLine(name, maxToolTip);
    // A tool tip guesses whether it is markup, and only markup is broken into lines.
    if (!Qt::mightBeRichText(line) && line.size() <= XMLUIBinder::MAX_TEXT)
        return line;
    return QStringLiteral("<p>%1</p>").arg(line.toHtmlEscaped());
}

/**
 * Keeps groups from unchecking anything while it lives. They give their members a look, and a click its first effect;
 * the states are the model's, and two of a group may be checked.
 */
class LiftedGroups
{
public:
    LiftedGroups(const QHash<int, QActionGroup *> &actionGroups, int &liftDepth)
        : groups(actionGroups), depth(liftDepth)
    {
        ++depth;
        set(QActionGroup::ExclusionPolicy::None);
    }
    LiftedGroups(const LiftedGroups &) = delete;
    LiftedGroups &operator=(const LiftedGroups &) = delete;
    ~LiftedGroups()
    {
        if (--depth == 0)
            set(QActionGroup::ExclusionPolicy::Exclusive);
    }

private:
    void set(QActionGroup::ExclusionPolicy policy)
    {
        for (QActionGroup *const group : groups)
            group->setExclusionPolicy(policy);
    }

    const QHash<int, QActionGroup *> &groups; // to which some may be added meanwhile
    int &depth;
};

} // namespace

struct Q_DECL_HIDDEN XMLUIBinder::Identity {
    int type;
    int originator;
    int occurrence;

    bool operator<(const Identity &other) const
    {
        return std::tie(type, originator, occurrence) < std::tie(other.type, other.originator, other.occurrence);
    }
};

struct Q_DECL_HIDDEN XMLUIBinder::Shown {
    QAction *action = nullptr; // the binder's
    int type = 0;
    bool isGone = false; // from the user interface; waits for its menus to close
    QString name;
    QString imageLocation;
    QIcon image;
};

XMLUIBinder::XMLUIBinder(QObject *parent)
    : QObject(parent), uiModel(new XMLUIModel(this)), end(new QAction(this)), liftDepth(0), isArranged(true)
{
    end->setVisible(false);
    connect(uiModel, &XMLUIModel::rowsInserted, this,
            [this](const QModelIndex &, int first, int last) { makeActions(first, last); });
    connect(uiModel, &XMLUIModel::rowsAboutToBeRemoved, this,
            [this](const QModelIndex &, int first, int last) { parkActions(first, last); });
    connect(uiModel, &XMLUIModel::rowsMoved, this, [this] { isArranged = false; });
    connect(uiModel, &XMLUIModel::dataChanged, this,
            [this](const QModelIndex &first, const QModelIndex &last) { synchronise(first.row(), last.row()); });
    connect(uiModel, &XMLUIModel::updated, this, [this] { arrange(); });
    connect(uiModel, &XMLUIModel::triggered, this, &XMLUIBinder::triggered);
}

XMLUIBinder::~XMLUIBinder() = default;

XMLUIModel *XMLUIBinder::model() const
{
    return uiModel;
}

XMLUIBinder::Identity XMLUIBinder::identityOf(int row) const
{
    const QModelIndex index = uiModel->index(row);
    return {index.data(XMLUIModel::TypeRole).toInt(), index.data(XMLUIModel::OriginatorRole).toInt(),
            index.data(XMLUIModel::OccurrenceRole).toInt()};
}

XMLUIBinder::Shown *XMLUIBinder::shownAt(int row) const
{
    return shownActions.at(identityOf(row)).get();
}

void XMLUIBinder::addTo(QWidget *widget)
{
    if (!widget || widgets.contains(widget))
        return;
    widgets.append(widget);
    widget->addAction(end);
    if (const auto menu = qobject_cast<QMenu *>(widget)) {
        // Queued: the click that closes a menu comes after this signal.
        connect(
            menu, &QMenu::aboutToHide, this, [this] { arrange(); }, Qt::QueuedConnection);
    }
    isArranged = false;
    arrange();
}

QList<QAction *> XMLUIBinder::actions() const
{
    QList<QAction *> list;
    list.reserve(uiModel->rowCount());
    for (int row = 0; row < uiModel->rowCount(); ++row)
        list.append(shownAt(row)->action);
    return list;
}

QAction *XMLUIBinder::action(int type, int originator, int occurrence) const
{
    const auto found = shownActions.find({type, originator, occurrence});
    return found == shownActions.end() || found->second->isGone ? nullptr : found->second->action;
}

void XMLUIBinder::makeActions(int first, int last)
{
    for (int row = first; row <= last; ++row) {
        const Identity identity = identityOf(row);
        std::unique_ptr<Shown> &shown = shownActions[identity];
        if (!shown) {
            shown = std::make_unique<Shown>();
            QAction *const action = new QAction(this);
            shown->action = action;
            shown->type = identity.type;
            connect(action, &QAction::triggered, this, [this, action] { trigger(action); });
        }
        shown->isGone = false;
    }
    isArranged = false;
    if (isMenuOpen()) // else they are filled when they are arranged
        synchronise(first, last);
}

void XMLUIBinder::parkActions(int first, int last)
{
    const LiftedGroups lifted(actionGroups, liftDepth);
    for (int row = first; row <= last; ++row) {
        Shown *const shown = shownAt(row);
        shown->isGone = true;
        shown->action->setEnabled(false);
    }
    isArranged = false;
}

void XMLUIBinder::synchronise(int first, int last)
{
    const LiftedGroups lifted(actionGroups, liftDepth);
    const bool isFrozen = isMenuOpen();
    for (int row = first; row <= last; ++row)
        fill(*shownAt(row), row, isFrozen);
}

void XMLUIBinder::fill(Shown &shown, int row, bool isFrozen)
{
    const QModelIndex index = uiModel->index(row);
    const bool isVisible = index.data(XMLUIModel::VisibleRole).toBool();
    const bool isEnabled = index.data(XMLUIModel::EnabledRole).toBool();
    const QString name = index.data().toString();
    const QString location = index.data(XMLUIModel::ImageRole).toString();
    if (location != shown.imageLocation) {
        shown.imageLocation = location;
        shown.image = toIcon(location);
    }

    QAction &action = *shown.action;
    if (name != shown.name || action.text().isNull()) {
        shown.name = name;
        action.setText(toLabel(name));
        action.setToolTip(toToolTip(name));
    }
    const bool isSelected = index.data(XMLUIModel::SelectedRole).toBool();
    if (isSelected != action.font().bold()) {
        QFont font = action.font();
        font.setBold(isSelected);
        action.setFont(font);
    }
    action.setCheckable(index.data(XMLUIModel::CheckableRole).toBool());
    setGroup(shown);
    action.setChecked(index.data(XMLUIModel::CheckedRole).toBool());
    if (isFrozen) {
        action.setEnabled(isEnabled && isVisible);
        isArranged = false;
    } else {
        action.setIcon(iconOf(shown));
        action.setVisible(isVisible);
        action.setEnabled(isEnabled);
    }
}

QIcon XMLUIBinder::iconOf(const Shown &shown) const
{
    return shown.image.isNull() ? icons.value(shown.type) : shown.image;
}

void XMLUIBinder::setGroup(Shown &shown)
{
    const int number = shown.action->isCheckable() ? uiModel->exclusiveGroupOf(shown.type) : -1;
    QActionGroup *group = nullptr;
    if (number >= 0) {
        group = actionGroups.value(number);
        if (!group) {
            group = new QActionGroup(this);
            group->setExclusionPolicy(QActionGroup::ExclusionPolicy::None);
            actionGroups.insert(number, group);
        }
    }
    if (group != shown.action->actionGroup())
        shown.action->setActionGroup(group);
}

bool XMLUIBinder::isMenuOpen() const
{
    return std::any_of(widgets.begin(), widgets.end(), [](const QPointer<QWidget> &widget) {
        return widget && widget->isVisible() && qobject_cast<QMenu *>(widget.data());
    });
}

void XMLUIBinder::arrange()
{
    if (isArranged || isMenuOpen())
        return;
    isArranged = true;
    const LiftedGroups lifted(actionGroups, liftDepth);
    for (auto shown = shownActions.begin(); shown != shownActions.end();) {
        if (!shown->second->isGone) {
            ++shown;
            continue;
        }
        QAction *const action = shown->second->action;
        action->setVisible(false);
        action->deleteLater(); // it may be on its way to trigger()
        shown = shownActions.erase(shown);
    }
    synchronise(0, uiModel->rowCount() - 1);
    setShortcuts();
    const QList<QAction *> wanted = actions();
    widgets.removeAll(nullptr);
    for (const QPointer<QWidget> &widget : QList<QPointer<QWidget>>(widgets)) {
        if (widget)
            arrange(widget, wanted);
    }
}

void XMLUIBinder::arrange(QWidget *widget, const QList<QAction *> &wanted)
{
    QHash<QAction *, int> rows;
    for (int row = 0; row < wanted.size(); ++row)
        rows.insert(wanted.at(row), row);
    std::vector<QAction *> present;
    std::vector<int> wantedRows;
    const QList<QAction *> shown = widget->actions();
    for (QAction *const action : shown) {
        const bool isOurs = action->parent() == this && action != end;
        if (isOurs) {
            present.push_back(action);
            wantedRows.push_back(rows.value(action, -1));
        }
    }
    const auto actionAt = [&](int row) {
        return row < static_cast<int>(present.size()) ? present[static_cast<std::size_t>(row)] : end;
    };
    for (const RowStep &step : rowSteps(std::move(wantedRows), static_cast<int>(wanted.size()))) {
        const auto first = present.begin() + step.row;
        switch (step.kind) {
        case RowStep::Remove:
            for (int row = step.row; row < step.row + step.value; ++row)
                widget->removeAction(actionAt(row));
            present.erase(first, first + step.value);
            break;
        case RowStep::Move: {
            QAction *const moved = *first;
            present.erase(first);
            widget->insertAction(actionAt(step.value), moved);
            present.insert(present.begin() + step.value, moved);
            break;
        }
        case RowStep::Insert: {
            const QList<QAction *> fresh = wanted.mid(step.row, step.value);
            widget->insertActions(actionAt(step.row), fresh);
            present.insert(first, fresh.begin(), fresh.end());
            break;
        }
        }
    }
}

void XMLUIBinder::setTemplate(int type, const QIcon &icon, const QKeySequence &shortcut)
{
    icons.insert(type, icon);
    shortcuts.insert(type, shortcut);
    isArranged = false;
    arrange();
}

void XMLUIBinder::setShortcuts()
{
    // With two actions of one shortcut the toolkit would trigger neither.
    QSet<int> seen;
    for (int row = 0; !shortcuts.isEmpty() && row < uiModel->rowCount(); ++row) {
        const Shown *const shown = shownAt(row);
        shown->action->setShortcut(seen.contains(shown->type) ? QKeySequence() : shortcuts.value(shown->type));
        seen.insert(shown->type);
    }
}

void XMLUIBinder::trigger(QAction *action)
{
    const QPointer<XMLUIBinder> alive(this);
    uiModel->trigger(static_cast<int>(actions().indexOf(action)));
    // The toolkit has changed the states before anybody was asked, and what is refused has to be taken back.
    if (alive)
        synchronise(0, uiModel->rowCount() - 1);
}

void XMLUIBinder::setStatusBar(QStatusBar *newStatusBar)
{
    statusBar = newStatusBar;
}

void XMLUIBinder::setUI(const XMLUI &ui)
{
    uiModel->setUI(ui);
}

void XMLUIBinder::setImage(const XMLImage &image)
{
    uiModel->setImage(image);
}

void XMLUIBinder::addExclusiveGroup(const QList<int> &types)
{
    uiModel->addExclusiveGroup(types);
}

void XMLUIBinder::clear()
{
    uiModel->clear();
}

void XMLUIBinder::showMessage(const XMLMessage &message)
{
    const QString text = message.getMessage();
    if (statusBar)
        statusBar->showMessage(text);
    Q_EMIT messageShown(text);
}
