// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef ZQXMLTRACE_PRINTABLE_P_H
#define ZQXMLTRACE_PRINTABLE_P_H

#include <QString>

/**
 * Returns \a text with "?" for each character that a terminal or a line of text would act on, or that would hide or
 * reorder others.
 */
inline QString printable(QString text)
{
    for (QChar &c : text) {
        switch (c.category()) {
        case QChar::Other_Control:
        case QChar::Other_Format:
        case QChar::Separator_Line:
        case QChar::Separator_Paragraph:
            c = QLatin1Char('?');
            break;
        default:
            break;
        }
    }
    return text;
}

#endif
