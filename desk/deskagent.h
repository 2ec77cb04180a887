// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef DESK_DESKAGENT_H
#define DESK_DESKAGENT_H

#include <zqxmlview/xmluiowner.h>

/** The agent that offers what can be done at the desk, as a user interface. */
class DeskAgent : public XMLUIOwner
{
    Q_OBJECT

public:
    enum AgentType : int { DESK = 100, VIEW = 101 };
    enum ActionType : int { REFRESH = 1, SHOW_PUBLICATIONS = 2, START = 3, STOP = 4, HOLD = 5 };

    explicit DeskAgent(XMLRouter *router, QObject *parent = nullptr);

    /** Offers to start and to stop the chosen output; neither without one. */
    void setOutput(bool isChosen, bool isRunning);

    /** Offers to hold the chosen job, or to let it go. */
    void setJob(bool isChosen, bool isHeld);

Q_SIGNALS:
    void refreshWanted();
    void publicationsWanted(bool shown);
    void outputSwitched(bool running);
    void jobHeld(bool held);

private:
    void offer(const QString &name, int type, bool isCheckable);
    void set(int type, bool isEnabled, bool isChecked);
    void act(const XMLAction &action);
};

#endif
