// What the controllers hold now, as the service's stream tells it, and whether that can still be believed.
import { useEffect, useRef, useState } from "preact/hooks";
import { csrf, readPlain } from "./api";
import { fields, NumberText, parse } from "./json";
import type { Json, JsonObject } from "./json";
import { session } from "./session";
import { Store } from "./store";

/** Whoever hears nothing for so long has lost the link: the service speaks every second. */
const longestSilence = 2000;
const checkEvery = 250;
const longestPause = 5000;

export interface Link {
    isOpen: boolean;
    /** When the service was last heard of, in milliseconds of Date.now(). */
    heard: number;
    /** Why it ended, in the service's words. */
    reason: string;
}

/** Each of the service's numbers is another one when something of that kind has changed. */
export interface Revision {
    configuration: string;
    history: string;
    activity: string;
}

export interface LiveValue {
    value: Json;
    isCurrent: boolean;
    /** Seconds, whole ones where it isn't current; undefined where nothing was ever read. */
    age: number | undefined;
    /** Why it can't be read. */
    text: string;
}

interface Reading {
    value: Json;
    isGood: boolean;
    isKnown: boolean;
    time: number | undefined;
    text: string;
}

interface Told {
    value: Json;
    quality: string;
    age: Json;
    text?: string;
}

export const link = new Store<Link>({ isOpen: false, heard: Date.now(), reason: "" });
export const revision = new Store<Revision>({ configuration: "", history: "", activity: "" });
/** Counts what was told, and the looks at whether it can still be believed. */
const news = new Store(0);

const readings = new Map<string, Reading>();
const domains = new Map<string, { isGood: boolean; time: number | undefined }>();
const watchers = new Map<string, number>();

/** Older than this nothing is shown as current; more where the service is set to read less often. */
let oldest = longestSilence;
let socket: WebSocket | undefined;
/** When it was tried to open it, in milliseconds of Date.now(). */
let tried = 0;
let pause = 250;
let isAsked = false;
let isTold = false;

/** Keeps the stream open for as long as somebody is signed in. */
export function startLive(): void {
    session.follow(() => {
        close();
        if (session.value) {
            open();
        }
    });
    setInterval(check, checkEvery);
    // A tab that was asleep has old values on its screen.
    document.addEventListener("visibilitychange", check);
    addEventListener("online", () => reopen(0));
    if (session.value) {
        open();
    }
}

function open(): void {
    if (socket) {
        return;
    }
    const made = new WebSocket(`${location.protocol === "https:" ? "wss" : "ws"}://${location.host}/api/v1/events`);
    socket = made;
    tried = Date.now();
    made.onopen = () => ask();
    made.onmessage = (event) => made === socket && hear(event.data as string);
    made.onclose = (event) => made === socket && lose(event.reason);
}

function close(): void {
    const ended = socket;
    socket = undefined;
    ended?.close();
    readings.clear();
    domains.clear();
    pause = 250;
    // Nothing is missed of a stream that isn't wanted.
    link.set({ isOpen: false, heard: Date.now(), reason: "" });
}

function lose(reason: string): void {
    socket = undefined;
    link.set({ ...link.value, isOpen: false, reason });
    news.set(news.value + 1);
    // A stream that is refused does not tell why: it may be that the session has ended, which a request does tell.
    void readPlain("/session", {}, AbortSignal.timeout(longestPause)).catch(() => {});
    reopen(pause);
    pause = Math.min(longestPause, pause * 2);
}

function reopen(delay: number): void {
    setTimeout(() => session.value && open(), delay);
}

/** Asks for what is watched now; several changes at a time are one question. */
function ask(): void {
    isAsked = false;
    if (socket?.readyState === WebSocket.OPEN) {
        socket.send(JSON.stringify({ csrf: csrf.get(), symbols: [...watchers.keys()] }));
        isTold = false;
    }
}

function askSoon(): void {
    if (!isAsked) {
        isAsked = true;
        setTimeout(ask, 30);
    }
}

function hear(text: string): void {
    const now = Date.now();
    if (isSilent(now)) {
        // It has waited while this tab was asleep, nobody knows for how long.
        check();
        return;
    }
    const message = parse(text) as JsonObject;
    const told = fields<Revision>(message.get("revision"));
    for (const [name, domain] of message.get("domains") as JsonObject) {
        const { quality, age } = fields<Told>(domain);
        domains.set(name, { isGood: quality === "good", time: timeOf(age, now) });
    }
    for (const [name, value] of message.get("values") as JsonObject) {
        // Of what is watched no longer no change is told, and the value would look like a new one for ever.
        if (watchers.has(name)) {
            readings.set(name, readingOf(fields<Told>(value), now));
        }
    }
    oldest = Math.max(longestSilence, secondsOf(message.get("poll") ?? null) * 1000 + 1000 || 0);
    pause = 250;
    isTold = true;
    link.set(link.value.isOpen ? Object.assign(link.value, { heard: now }) : { isOpen: true, heard: now, reason: "" });
    if (
        told.configuration !== revision.value.configuration ||
        told.history !== revision.value.history ||
        told.activity !== revision.value.activity
    ) {
        revision.set(told);
    }
    news.set(news.value + 1);
}

function readingOf(told: Told, now: number): Reading {
    return {
        value: told.value,
        isGood: told.quality === "good",
        isKnown: told.quality !== "unknown",
        time: timeOf(told.age, now),
        text: told.text ?? "",
    };
}

function timeOf(age: Json, now: number): number | undefined {
    const seconds = secondsOf(age);
    return Number.isNaN(seconds) ? undefined : now - seconds * 1000;
}

function secondsOf(value: Json): number {
    return value instanceof NumberText ? Number(value.text) : Number.NaN;
}

/** The clock goes on when nothing is heard. */
function check(): void {
    const now = Date.now();
    // An attempt on a link that lets nothing through is told by nobody to have failed.
    const isStuck = socket !== undefined && !link.value.isOpen && Math.abs(now - tried) > longestPause;
    if (isSilent(now) || isStuck) {
        // What was sent meanwhile would come late; a new stream begins with all values.
        socket?.close();
        lose("nothing was heard for two seconds");
        return;
    }
    news.set(news.value + 1);
}

/** A clock that was set back tells no more than one that has gone on. */
function isSilent(now: number): boolean {
    return link.value.isOpen && Math.abs(now - link.value.heard) > longestSilence;
}

/** Until the returned function is called. */
export function watch(symbols: readonly string[]): () => void {
    for (const symbol of symbols) {
        watchers.set(symbol, (watchers.get(symbol) ?? 0) + 1);
    }
    askSoon();
    return () => {
        for (const symbol of symbols) {
            const left = (watchers.get(symbol) ?? 1) - 1;
            if (left > 0) {
                watchers.set(symbol, left);
            } else {
                watchers.delete(symbol);
                readings.delete(symbol);
            }
        }
        askSoon();
    };
}

/** Watches the symbols for as long as the component is shown. */
export function useWatch(symbols: readonly string[]): void {
    const release = useRef(() => {});
    useEffect(() => {
        const before = release.current;
        release.current = watch(symbols);
        // Last, so that what stays watched keeps its value.
        before();
    }, [symbols.join("\n")]);
    useEffect(() => () => release.current(), []);
}

/** The value of a watched symbol; undefined until the service has told anything of it. */
export function liveValue(symbol: string, domain: string): LiveValue | undefined {
    const reading = readings.get(symbol);
    if (!reading?.isKnown) {
        return undefined;
    }
    const polled = domains.get(domain);
    // A value that stays the same is not told again: it is as old as the last reading of its domain.
    const time = reading.isGood && polled?.time !== undefined ? Math.max(polled.time, reading.time ?? 0) : reading.time;
    const age = time === undefined ? undefined : Math.max(0, Date.now() - time);
    const isCurrent =
        link.value.isOpen && reading.isGood && polled?.isGood === true && age !== undefined && age <= oldest;
    return {
        value: reading.value,
        isCurrent,
        age: age === undefined ? undefined : Math.floor(age / 1000),
        text: reading.isGood && polled?.isGood === false ? "the device does not answer" : reading.text,
    };
}

/** Whether the domain of a watched symbol is known to be silent, which it isn't before the symbol was read. */
export function isSilentDomain(symbol: string, domain: string): boolean {
    const polled = domains.get(domain);
    const isRead = readings.get(symbol)?.isKnown === true;
    return isRead && polled !== undefined && !(polled.isGood && Date.now() - (polled.time ?? 0) <= oldest);
}

/** Has `look` called with everything that is heard, and several times a second where nothing is. */
export function onNews(look: () => void): () => void {
    return news.follow(look);
}

/** Draws the component again whenever `select`, which gives a text or a number, gives another one. */
export function useNews<T extends string | number | boolean>(select: () => T, inputs: readonly unknown[]): T {
    const [selected, setSelected] = useState(select);
    useEffect(() => {
        const look = () => setSelected(select);
        look();
        return news.follow(look);
    }, inputs);
    return selected;
}

/** Whether what was asked for last has been told. */
export function isUpToDate(): boolean {
    return isTold && link.value.isOpen;
}
