import type { ComponentChildren } from "preact";
import { useEffect, useRef } from "preact/hooks";
import type { Stage } from "../../data/activation";
import { leafOf } from "../../data/tree";
import { counted, Text } from "../Text";
import { verdictOf } from "./rows";
import type { Verdict } from "./rows";

export type Over = Extract<Stage, { name: "ended" | "refused" | "lost" }>;

const signs = { good: "✓", info: "i", warn: "!", bad: "✕" };

/** What came of it, in a line that can be read from afar. */
export function VerdictBox({ recipe, stage, children }: { recipe: string; stage: Over; children: ComponentChildren }) {
    const { kind, isNamed, title, more } = told(stage);
    const box = useRef<HTMLDivElement>(null);
    // Who works by keyboard or listens is led here; the button that was pressed is gone.
    useEffect(() => box.current?.focus(), []);
    return (
        <div ref={box} class={`verdict notice ${kind}`} role={kind === "good" ? "status" : "alert"} tabIndex={-1}>
            <span class="notice-sign" aria-hidden="true">
                {signs[kind]}
            </span>
            <div>
                <h2>
                    {isNamed && <Text>{leafOf(recipe)}</Text>}
                    {title}
                </h2>
                {more.filter(Boolean).map((text) => (
                    <p class="pre">{text}</p>
                ))}
                <div class="actions">{children}</div>
            </div>
        </div>
    );
}

function told(stage: Over): Verdict {
    if (stage.name === "ended") {
        return verdictOf(stage.outcome);
    }
    if (stage.name === "lost") {
        const advice = "Look at the plan anew: it reads what the controllers hold now.";
        return { kind: "bad", title: "What came of it is not known.", more: [stage.text, advice] };
    }
    const { code, message, retryAfter } = stage.problem;
    const wait = retryAfter > 0 ? `Try again in ${counted(retryAfter, "second")}.` : "";
    const detail = code === "PLAN_CHANGED" ? "" : message;
    return { kind: "warn", title: `Nothing was written. ${reasons[code] ?? ""}`.trim(), more: [detail, wait] };
}

const reasons: Record<string, string> = {
    PLAN_CHANGED: "What would be written has changed since you looked.",
    PLAN_EXPIRED: "The plan was too old.",
    SYMBOL_IN_USE: "Somebody else is writing there.",
    BUSY: "The controllers are busy.",
    TOO_MANY_REQUESTS: "Too much was asked at once.",
};
