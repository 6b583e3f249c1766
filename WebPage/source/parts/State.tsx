import type { ComponentChildren } from "preact";
import { errorText, Problem } from "../data/api";
import { Text } from "./Text";

/** The words for states of rows, each with a sign, so that no colour has to tell it. */
const signs: Record<string, [sign: string, kind: string]> = {
    verified: ["✓", "good"],
    written: ["✓", "good"],
    same: ["=", "quiet"],
    differs: ["≠", "warn"],
    unread: ["?", "bad"],
    failed: ["✕", "bad"],
    "not tried": ["–", "warn"],
    "not written": ["–", "quiet"],
};

export function State({ state }: { state: string }) {
    const [sign, kind] = signs[state] ?? ["•", "quiet"];
    return (
        <span class={"state " + kind}>
            <span aria-hidden="true">{sign}</span> {state}
        </span>
    );
}

/** Where something is to come that isn't there yet. It is shown late, so that what is quick doesn't flicker. */
export function Loading({ what }: { what: string }) {
    return (
        <p class="loading" role="status">
            Reading {what} …
        </p>
    );
}

/** Where there is nothing, and what to do about it. */
export function Empty({ title, children }: { title: string; children?: ComponentChildren }) {
    return (
        <div class="empty">
            <p class="empty-title">{title}</p>
            {children}
        </div>
    );
}

/** What went wrong, with each mistake and its place. */
export function Failure({ error, retry }: { error: unknown; retry?: () => void }) {
    const text = errorText(error);
    const mistakes = error instanceof Problem ? error.errors : [];
    // The one mistake that the text is made of isn't told twice.
    const errors = mistakes.length === 1 && text.endsWith(mistakes[0]!.detail) ? [] : mistakes;
    return (
        <div class="notice bad" role="alert">
            <span class="notice-sign" aria-hidden="true">
                ✕
            </span>
            <div>
                <p class="pre">
                    <Text>{text}</Text>
                </p>
                {errors.length > 0 && (
                    <ul>
                        {errors.slice(0, 100).map(({ pointer, detail }) => (
                            <li class="pre">
                                {pointer && (
                                    <code>
                                        <Text>{pointer}</Text>
                                    </code>
                                )}{" "}
                                <Text>{detail}</Text>
                            </li>
                        ))}
                    </ul>
                )}
                {retry && (
                    <button type="button" onClick={retry}>
                        Try again
                    </button>
                )}
            </div>
        </div>
    );
}

export function Notice({ kind, children }: { kind: "good" | "warn" | "bad" | "info"; children: ComponentChildren }) {
    const sign = { good: "✓", warn: "!", bad: "✕", info: "i" }[kind];
    return (
        <div class={"notice " + kind} role={kind === "bad" ? "alert" : undefined}>
            <span class="notice-sign" aria-hidden="true">
                {sign}
            </span>
            <div>{children}</div>
        </div>
    );
}
