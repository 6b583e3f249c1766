import type { ComponentChildren } from "preact";
import { shown } from "../data/json";
import type { Json } from "../data/json";
import { go } from "../data/router";
import { queryText } from "../data/api";

/** A text from outside: signs of direction in it order nothing, and what can't be seen is marked. */
export function Text({ children, long }: { children: string; long?: boolean }) {
    return (
        <bdi class={long ? "text long" : "text"} title={children}>
            {marked(children)}
        </bdi>
    );
}

/**
 * What tells two texts apart without being seen: blanks at an end or side by side, all blanks but the common one, and
 * signs that take no room, but for those that join emoji and letters or choose their form.
 */
const unseen = new RegExp(
    [
        "^ +| +$| {2,}",
        "(?<![\\p{ExtPict}\\p{EMod}\\ufe0f\\p{sc=Arab}\\p{sc=Deva}\\p{sc=Beng}])[\\u200c\\u200d]",
        "(?<!\\p{ExtPict})\\ufe0f(?!\\u20e3)",
        "(?![ \\u200c\\u200d\\ufe0f])[\\p{Z}\\p{Cc}\\p{DI}\\u2800\\ufff9-\\ufffb]",
    ].join("|"),
    "u",
);
const unseenApart = new RegExp(`(${unseen.source})`, "u");

function marked(text: string): ComponentChildren {
    return unseen.test(text)
        ? text.split(unseenApart).map((part, index) => (index % 2 === 1 ? <Unseen>{part}</Unseen> : part))
        : text;
}

/** The sign itself stays, so that the text is copied as it is. */
function Unseen({ children }: { children: string }) {
    const isBlank = children.startsWith(" ");
    const code = children.codePointAt(0)!.toString(16).toUpperCase().padStart(4, "0");
    const sign = isBlank ? "␣".repeat(children.length) : ({ "\n": "↵", "\t": "⇥" }[children] ?? `U+${code}`);
    return (
        <span class={children === "\n" ? "unseen line-end" : "unseen"} data-sign={sign}>
            {children}
        </span>
    );
}

/** A value as it is stored; numbers have `class="number"` around them where they stand in a column. */
export function ValueText({ value, unit }: { value: Json | undefined; unit?: string | undefined }) {
    const text = shown(value);
    if (value === undefined || value === null) {
        return <span class="nothing">–</span>;
    }
    if (text === "") {
        return <span class="nothing">(empty)</span>;
    }
    return (
        <>
            <Text>{text.length > 5000 ? text.slice(0, 5000) + "…" : text}</Text>
            {unit && (
                <span class="unit">
                    {" "}
                    <Text>{unit}</Text>
                </span>
            )}
        </>
    );
}

/** Who did something: people by their names alone, programs and accounts of the machine by what they are. */
export function Who({ of }: { of: string }) {
    return <Text>{of.replace(/^user:/, "")}</Text>;
}

/** The name of an entry, its folders before it in a weaker colour. */
export function EntryName({ name }: { name: string }) {
    const parts = name.split("::");
    const leaf = parts.pop()!;
    return (
        <bdi class="text entry-name" title={name}>
            {parts.length > 0 && <span class="folders">{parts.map((part) => [marked(part), "::"])}</span>}
            <span class="leaf">{marked(leaf)}</span>
        </bdi>
    );
}

interface LinkProps {
    to: string;
    query?: Record<string, string | undefined>;
    class?: string;
    current?: boolean;
    children: ComponentChildren;
}

/** A link inside the page; a middle click and Ctrl+click do what they do everywhere. */
export function Link({ to, query = {}, class: name, current, children }: LinkProps) {
    const follow = (event: MouseEvent) => {
        if (event.button === 0 && !event.ctrlKey && !event.metaKey && !event.shiftKey) {
            event.preventDefault();
            go(to, query);
        }
    };
    return (
        <a href={to + queryText(query)} class={name} aria-current={current ? "page" : undefined} onClick={follow}>
            {children}
        </a>
    );
}

const units: [Intl.RelativeTimeFormatUnit, number][] = [
    ["day", 86400],
    ["hour", 3600],
    ["minute", 60],
];
const relative = new Intl.RelativeTimeFormat("en", { numeric: "auto" });
const absolute = new Intl.DateTimeFormat(undefined, { dateStyle: "medium", timeStyle: "medium" });

/** A time of the service, which is UTC, on this machine's clock; how long ago it was is behind the pointer. */
export function Time({ of, short }: { of: string; short?: boolean }) {
    const time = new Date(of);
    const seconds = (time.getTime() - Date.now()) / 1000;
    const [unit, length] = units.find(([, size]) => Math.abs(seconds) >= size) ?? ["second", 1];
    const ago = Math.abs(seconds) < 60 ? "just now" : relative.format(Math.round(seconds / length), unit);
    return (
        <time dateTime={of} title={short ? absolute.format(time) : ago}>
            {short ? ago : absolute.format(time)}
        </time>
    );
}

/** 1 value, 2 values. */
export function counted(count: number, one: string, many = one + "s"): string {
    return `${count} ${count === 1 ? one : many}`;
}
