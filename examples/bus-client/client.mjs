// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

// A client of the bus in another language, written from docs/bus-protocol.md. It joins, finds a comm server, asks it for
// outputs and jobs, prints their names, and leaves.
//
//     node client.mjs nats://127.0.0.1:4222 [--bus NAME] [--trace]

import { randomBytes } from 'node:crypto';
import { connect } from 'nats';

const [url, ...options] = process.argv.slice(2);
const bus = options.includes('--bus') ? options[options.indexOf('--bus') + 1] : 'main';
const trace = options.includes('--trace');
if (!url) {
    console.error('usage: node client.mjs URL [--bus NAME] [--trace]');
    process.exit(2);
}

const self = `js-${randomBytes(8).toString('hex')}`;
const [ANNOUNCE, OPEN, BEAT, DATA, CLOSE] = [1, 2, 3, 4, 5];
const [GAP, ANSWER] = [1, 2];
const [FIRST, LAST] = [1, 2];
const HEADER = 44;
const WINDOW = 256;
const LARGEST = 16 * 1024 * 1024 + 1;
const COMM_SERVER_TYPE = 0;
const NONE = 0n;

const nats = await connect({ servers: url, noEcho: true, maxReconnectAttempts: -1 });

function makeFrame({ kind, from, to = NONE, number = 0n, received = 0n, delivered = 0n, body = Buffer.alloc(0) }) {
    const header = Buffer.alloc(HEADER);
    header.write('ZQ');
    header[2] = 1;
    header[3] = kind;
    [from, to, number, received, delivered].forEach((field, i) => header.writeBigUInt64BE(field, 4 + 8 * i));
    return Buffer.concat([header, body]);
}

function readFrame(data) {
    const bytes = Buffer.from(data);
    if (bytes.length < HEADER || bytes.toString('latin1', 0, 2) !== 'ZQ' || bytes[2] !== 1) return null;
    const [from, to, number, received, delivered] = [4, 12, 20, 28, 36].map((at) => bytes.readBigUInt64BE(at));
    return { kind: bytes[3], from, to, number, received, delivered, body: bytes.subarray(HEADER) };
}

function show(from, to, bytes) {
    if (!trace) return;
    console.error(`${from} > ${to}\n${bytes.toString('hex').replace(/(..)/g, '$1 ').replace(/(.{96})/g, '$1\n')}`);
}

let lastSession = BigInt(`0x${randomBytes(4).toString('hex')}`) << 32n | NONE;
if (lastSession === 0n) lastSession = 1n << 32n;

/** The session with one peer. */
class Session {
    constructor(name) {
        this.name = name;
        this.agents = new Map(); // types by id
        this.state = 'closed';
        this.reset();
        this.timer = setInterval(() => this.tick(), 50);
    }

    reset() {
        this.out = []; // bodies that are not delivered
        this.firstOut = 1n;
        this.nextToSend = 1n;
        this.theirs = { received: 0n, window: 1 };
        this.received = 0n;
        this.parts = [];
        this.heard = this.sent = this.progress = Date.now();
        this.owesWord = false;
        this.agents.clear();
    }

    transmit(fields, probe = false) {
        const frame = makeFrame({ from: this.mine, to: this.peer, ...fields });
        show(self, this.name, frame);
        const reply = probe ? { reply: `zq.${bus}.to.${self}.from.${this.name}` } : {};
        nats.publish(`zq.${bus}.to.${this.name}.from.${self}`, frame, reply);
        this.sent = Date.now();
    }

    inSession(fields, probe) {
        this.owesWord = false;
        this.transmit({ received: this.received, delivered: this.received, ...fields }, probe);
    }

    beat(flags, number = 0n, probe = false) {
        this.inSession({ kind: BEAT, number, body: Buffer.from([flags]) }, probe);
    }

    sendOpen(from, to) {
        const body = Buffer.alloc(12);
        [LARGEST, WINDOW, 1 << 20].forEach((limit, i) => body.writeUInt32BE(limit, 4 * i));
        this.transmit({ kind: OPEN, from, to, body });
    }

    open() {
        this.state = 'opening';
        this.mine = ++lastSession;
        this.opensSince = Date.now();
        this.sendOpen(this.mine, NONE);
    }

    take(frame) {
        if (this.state === 'closed') {
            if (frame.kind === CLOSE) return;
            this.open();
        }
        if (this.state === 'open' && frame.from === this.peer && frame.to === this.mine) {
            this.takeInSession(frame);
        } else if (frame.kind === OPEN) {
            this.takeOpen(frame);
        } else if (frame.kind !== CLOSE) {
            this.sendOpen(this.state === 'open' ? this.next : this.mine, NONE);
        }
    }

    takeOpen(frame) {
        const ours = this.state === 'open' ? this.next : this.mine;
        if (frame.to === NONE) {
            this.sendOpen(this.state === 'open' && frame.from === this.peer ? this.mine : ours, frame.from);
        } else if (frame.to === ours) {
            this.reset();
            this.mine = ours;
            this.next = ++lastSession;
            this.peer = frame.from;
            this.theirs.window = Math.max(1, frame.body.readUInt32BE(4));
            this.state = 'open';
            this.sendOpen(this.mine, this.peer);
        }
    }

    takeInSession(frame) {
        this.heard = Date.now();
        if (frame.kind === OPEN) return;
        if (frame.received > this.theirs.received) {
            this.theirs.received = frame.received;
            this.progress = Date.now();
        }
        while (this.firstOut <= frame.delivered) {
            this.out.shift();
            this.firstOut += 1n;
        }
        this.sendMore();
        if (frame.kind === CLOSE) this.end();
        else if (frame.kind === DATA) this.takeData(frame);
        else if (frame.body[0] & GAP) this.resend();
        if (frame.kind === BEAT && frame.body[0] & ANSWER) this.beat(0);
    }

    takeData(frame) {
        this.owesWord = true;
        if (frame.number > this.received + 1n) this.beat(GAP, frame.number);
        if (frame.number !== this.received + 1n) return;
        this.received = frame.number;
        if (frame.body[0] & FIRST) this.parts = [];
        this.parts.push(frame.body.subarray(1));
        if (frame.body[0] & LAST) this.takeMessage(Buffer.concat(this.parts));
        if (this.received % BigInt(WINDOW / 4) === 0n) this.beat(0);
    }

    takeMessage(message) {
        const kind = String.fromCharCode(message[0]);
        if (kind === 'A') this.agents.set(message.readInt32BE(5), message.readInt32BE(9));
        else if (kind === 'R') this.agents.delete(message.readInt32BE(1));
        else if (kind === 'P') takePacket(this, message.toString('utf8', 1));
        news();
    }

    send(message) {
        for (let at = 0; at < message.length; at += 60 * 1024) {
            const part = message.subarray(at, at + 60 * 1024);
            const flags = (at === 0 ? FIRST : 0) | (at + 60 * 1024 >= message.length ? LAST : 0);
            this.out.push(Buffer.concat([Buffer.from([flags]), part]));
        }
        this.sendMore();
    }

    sendMore() {
        while (this.nextToSend - this.firstOut < Math.min(this.out.length, this.theirs.window)) {
            if (this.nextToSend === this.theirs.received + 1n) this.progress = Date.now();
            this.sendNumber(this.nextToSend);
            this.nextToSend += 1n;
        }
    }

    sendNumber(number) {
        this.inSession({ kind: DATA, number, body: this.out[Number(number - this.firstOut)] });
    }

    resend() {
        const missing = this.theirs.received + 1n;
        this.progress = Date.now();
        if (missing < this.nextToSend) this.sendNumber(missing);
        else if (this.out.length > 0) this.beat(ANSWER);
    }

    tick() {
        const now = Date.now();
        if (this.state === 'opening') {
            if (now - this.opensSince > 5000) this.state = 'closed';
            else if (now - this.sent >= 200) this.sendOpen(this.mine, NONE);
        } else if (this.state === 'open') {
            if (this.out.length > 0 && now - this.progress >= 200) this.resend();
            if (this.owesWord || now - this.sent >= 1000) this.beat(0);
            if (now - this.heard > 1500) this.beat(ANSWER, 0n, true);
            if (now - this.heard > 30000) this.end();
        }
    }

    end() {
        this.state = 'closed';
        this.reset();
        news();
    }

    close() {
        clearInterval(this.timer);
        if (this.state === 'open') this.inSession({ kind: CLOSE });
    }
}

const sessions = new Map();
let listeners = [];

function news() {
    const called = listeners;
    listeners = [];
    called.forEach((listener) => listener());
}

/** Waits until `find` gives something; null after some seconds. */
async function until(find, seconds = 10) {
    const end = Date.now() + 1000 * seconds;
    for (;;) {
        const found = find();
        if (found) return found;
        if (Date.now() >= end) return null;
        let timer;
        await new Promise((resolve) => {
            listeners.push(resolve);
            timer = setTimeout(resolve, 100);
        });
        clearTimeout(timer);
    }
}

function takeFrame(error, message) {
    const sender = message.subject.split('.').pop();
    if (error || sender === self || message.headers?.code === 503) return;
    const frame = readFrame(message.data);
    if (!frame) return;
    show(sender, message.subject.split('.')[3], Buffer.from(message.data));
    if (frame.kind === ANNOUNCE && !(frame.body[0] & 1)) return;
    if (!sessions.has(sender)) sessions.set(sender, new Session(sender));
    const session = sessions.get(sender);
    if (frame.kind !== ANNOUNCE) session.take(frame);
    else if (session.state === 'closed') session.open();
}

// One agent a question, so that its answer is known by where it goes to.
const answers = new Map();
let lastAgent = 0;

function takePacket(session, xml) {
    const destination = Number(/<dst agent_id="(-?\d+)"\/>/.exec(xml)?.[1]);
    answers.set(destination, xml);
}

async function ask(type) {
    const server = await until(() => {
        for (const session of sessions.values())
            for (const [id, agentType] of session.agents) if (agentType === COMM_SERVER_TYPE) return { session, id };
        return null;
    });
    if (!server) throw new Error('nobody answers on the bus');
    const agent = ++lastAgent;
    const { session, id } = server;
    const packet = `<zqxml xmlns="http://zqxml.example.org/ns/1.0"><header><dst agent_id="${id}"/>`
        + `<src agent_id="${agent}"/></header><body><action type="${type}"/></body></zqxml>`;
    session.send(Buffer.from(`P${packet}`));
    const answer = await until(() => answers.get(agent));
    const gone = Buffer.from('R....');
    gone.writeInt32BE(agent, 1);
    session.send(gone);
    if (!answer) throw new Error('no answer');
    return answer;
}

/** Returns the names of the records of a reply. */
function namesOf(xml) {
    const names = [...xml.matchAll(/<packetable [^>]*\bname="([^"]*)"/g)].map((match) => match[1]);
    const entities = { lt: '<', gt: '>', amp: '&', quot: '"' };
    return names.map((name) => name.replace(/&(\w+);/g, (whole, entity) => entities[entity] ?? whole));
}

for (const to of [self, 'all']) nats.subscribe(`zq.${bus}.to.${to}.from.*`, { callback: takeFrame });
const announcement = makeFrame({ kind: ANNOUNCE, from: lastSession, body: Buffer.from([0]) });
show(self, 'all', announcement);
nats.publish(`zq.${bus}.to.all.from.${self}`, announcement);

try {
    for (const [what, type] of [['outputs', 1000], ['jobs', 1003]]) {
        const names = namesOf(await ask(type));
        console.log(`${names.length} ${what}`);
        names.forEach((name) => console.log(`  ${name}`));
    }
} catch (error) {
    console.error(`bus-client: ${error.message}`);
    process.exitCode = 1;
}
for (const session of sessions.values()) session.close();
await nats.drain();
