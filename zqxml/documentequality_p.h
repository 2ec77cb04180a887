// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef ZQXML_DOCUMENTEQUALITY_P_H
#define ZQXML_DOCUMENTEQUALITY_P_H

class QDomDocument;

namespace zqxml {

/** Returns true when \a a and \a b print alike, apart from the order of attributes. */
bool printAlike(const QDomDocument &a, const QDomDocument &b);

} // namespace zqxml

#endif
