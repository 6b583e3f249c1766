import type { ComponentChildren } from "preact";
import { shown } from "../data/json";
import type { Json } from "../data/json";
import { go } from "../data/router";
import { queryText } from "../data/api";

/** A text from outside: signs of direction in it order nothing beside it. */
export function Text({ children, long }: { children: string; long?: boolean }) {
    return (
        <bdi class={long ? "text long" : "text"} title={children}>
            {children}
        </bdi>
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
            {unit && <span class="unit"> {unit}</span>}
        </>
    );
}

/** Who did something: people by their names alone, programs and accounts of the machine by what they are. */
export function Who({ of }: { of: string }) {
    return <Text>{of.replace(/^user:/, "")}</Text>;
}

/** The name of an entry, its folders before it in a weaker colour. */
export function EntryName({ name }: { name: string }) {
    const at = name.lastIndexOf("::");
    return (
        <bdi class="text entry-name" title={name}>
            {at >= 0 && <span class="folders">{name.slice(0, at + 2)}</span>}
            <span class="leaf">{at >= 0 ? name.slice(at + 2) : name}</span>
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
