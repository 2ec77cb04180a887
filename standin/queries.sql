-- SPDX-FileCopyrightText: 2026 The zqxml developers
-- SPDX-License-Identifier: MIT

-- The questions of the command server, in the order of Session's queries.

-- The outputs, each with the number of jobs that wait for it.
SELECT id, zqkey, hkey, name, state, speed, resolution,
    (SELECT count(*) FROM jobs WHERE output = outputs.id AND queue = 3)
FROM outputs
ORDER BY id;

-- The publications that have books, each with their number.
SELECT id, zqkey, hkey, name, 0, 0, 0, (SELECT count(*) FROM books WHERE publication = publications.id)
FROM publications
WHERE id IN (SELECT publication FROM books)
ORDER BY id;

-- The id of the output or publication under a key.
SELECT id FROM outputs WHERE zqkey = ? AND hkey = ?
UNION ALL
SELECT id FROM publications WHERE zqkey = ? AND hkey = ?;

-- The jobs in a queue of an output.
SELECT jobs.id, jobs.zqkey, jobs.hkey, jobs.name, publications.name, publications.id, page, queue, output, arrived,
    priority, copies, bytes, paper, format, inks, digest, publications.zqkey, publications.hkey
FROM jobs
LEFT JOIN publications ON publications.id = jobs.publication
WHERE output = ? AND queue = ?
ORDER BY arrived, jobs.id;

-- The books of the publication under a key.
SELECT books.id, books.zqkey, books.hkey, books.name, publication, pages, signature, copies, balance, cover, keywords
FROM publications
JOIN books ON books.publication = publications.id
WHERE publications.zqkey = ? AND publications.hkey = ?
ORDER BY books.id;
