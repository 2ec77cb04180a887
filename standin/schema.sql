-- SPDX-FileCopyrightText: 2026 The zqxml developers
-- SPDX-License-Identifier: MIT

-- The record store of a print shop. Every record has an id, unique over all tables, by which records refer to each
-- other, and a key of two unsigned 32-bit numbers, unique over all tables, by which it is asked for. Names are never
-- empty. A semicolon at the end of a line ends a statement, and a line that begins with two hyphens is a comment.

-- Which form the tables have: this one is version 1. One row.
CREATE TABLE store (
    version INTEGER NOT NULL
);

INSERT INTO store (version) VALUES (1);

-- Devices that print. state: 0 stopped, 1 running. speed: pages a minute. resolution: dots an inch.
CREATE TABLE outputs (
    id INTEGER NOT NULL PRIMARY KEY,
    zqkey BIGINT NOT NULL,
    hkey BIGINT NOT NULL,
    name VARCHAR(200) NOT NULL,
    state INTEGER NOT NULL,
    speed INTEGER NOT NULL,
    resolution INTEGER NOT NULL,
    UNIQUE (zqkey, hkey)
);

-- What customers have ordered, made of pages and bound into books.
CREATE TABLE publications (
    id INTEGER NOT NULL PRIMARY KEY,
    zqkey BIGINT NOT NULL,
    hkey BIGINT NOT NULL,
    name VARCHAR(200) NOT NULL,
    UNIQUE (zqkey, hkey)
);

-- Files to print: one page of a publication, or a job that stands alone (publication null, page 0). queue: 1 checking,
-- 2 held, 3 waiting for the output, 4 done. arrived: seconds since 1970-01-01 00:00 UTC. bytes: size of the file.
-- format: P PDF, S PostScript, T TIFF. inks: names, separated by +. digest: of the file, hexadecimal.
CREATE TABLE jobs (
    id INTEGER NOT NULL PRIMARY KEY,
    zqkey BIGINT NOT NULL,
    hkey BIGINT NOT NULL,
    name VARCHAR(200) NOT NULL,
    publication INTEGER REFERENCES publications (id),
    page INTEGER NOT NULL,
    queue INTEGER NOT NULL,
    output INTEGER NOT NULL REFERENCES outputs (id),
    arrived BIGINT NOT NULL,
    priority INTEGER NOT NULL,
    copies INTEGER NOT NULL,
    bytes BIGINT NOT NULL,
    paper VARCHAR(15) NOT NULL,
    format VARCHAR(1) NOT NULL,
    inks VARCHAR(200) NOT NULL,
    digest VARCHAR(64) NOT NULL
);

-- What a publication is bound into. signature: pages of a full section, a multiple of 4. balance: what the order still
-- brings, in cents. keywords: separated by +.
CREATE TABLE books (
    id INTEGER NOT NULL PRIMARY KEY,
    zqkey BIGINT NOT NULL,
    hkey BIGINT NOT NULL,
    name VARCHAR(200) NOT NULL,
    publication INTEGER NOT NULL REFERENCES publications (id),
    pages INTEGER NOT NULL,
    signature INTEGER NOT NULL,
    copies BIGINT NOT NULL,
    balance BIGINT NOT NULL,
    cover VARCHAR(200) NOT NULL,
    keywords VARCHAR(200) NOT NULL
);
