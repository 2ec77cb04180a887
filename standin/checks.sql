-- SPDX-FileCopyrightText: 2026 The zqxml developers
-- SPDX-License-Identifier: MIT

-- What must not be in a store: each statement gives with how many records something is wrong, and what.

SELECT count(*) - 1, 'versions beside the first'
FROM store;

SELECT count(*) - count(DISTINCT id), 'records that share an id with another'
FROM (SELECT id FROM outputs UNION ALL SELECT id FROM publications
    UNION ALL SELECT id FROM jobs UNION ALL SELECT id FROM books) AS records;

SELECT coalesce(sum(shared - 1), 0), 'records that share a key with another'
FROM (SELECT count(*) AS shared
    FROM (SELECT zqkey, hkey FROM outputs UNION ALL SELECT zqkey, hkey FROM publications
        UNION ALL SELECT zqkey, hkey FROM jobs UNION ALL SELECT zqkey, hkey FROM books) AS records
    GROUP BY zqkey, hkey) AS keys;

SELECT count(*), 'records with a key that is not two unsigned 32-bit numbers'
FROM (SELECT zqkey, hkey FROM outputs UNION ALL SELECT zqkey, hkey FROM publications
    UNION ALL SELECT zqkey, hkey FROM jobs UNION ALL SELECT zqkey, hkey FROM books) AS records
WHERE zqkey NOT BETWEEN 0 AND 4294967295 OR hkey NOT BETWEEN 0 AND 4294967295;

SELECT count(*), 'records without a name'
FROM (SELECT name FROM outputs UNION ALL SELECT name FROM publications
    UNION ALL SELECT name FROM jobs UNION ALL SELECT name FROM books) AS records
WHERE name = '';

SELECT count(*), 'jobs for an output that is not there'
FROM jobs WHERE NOT EXISTS (SELECT 1 FROM outputs WHERE id = jobs.output);

SELECT count(*), 'pages of a publication that is not there'
FROM jobs WHERE publication IS NOT NULL AND NOT EXISTS (SELECT 1 FROM publications WHERE id = jobs.publication);

SELECT count(*), 'jobs in a queue that is not there'
FROM jobs WHERE queue NOT BETWEEN 1 AND 4;

SELECT count(*), 'books of a publication that is not there'
FROM books WHERE NOT EXISTS (SELECT 1 FROM publications WHERE id = books.publication);

SELECT count(*), 'jobs with a number that no record of a job holds'
FROM jobs
WHERE priority NOT BETWEEN 0 AND 255 OR copies NOT BETWEEN 0 AND 65535 OR bytes < 0;

SELECT count(*), 'books with a number that no record of a book holds'
FROM books
WHERE pages NOT BETWEEN 0 AND 65535 OR signature NOT BETWEEN 0 AND 255 OR copies < 0;
