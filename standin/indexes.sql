-- SPDX-FileCopyrightText: 2026 The zqxml developers
-- SPDX-License-Identifier: MIT

-- What the questions need beside the keys. Made when the tables are filled, which is faster.

CREATE INDEX jobs_in_order ON jobs (output, queue, arrived, id);

CREATE INDEX books_in_order ON books (publication, id);
