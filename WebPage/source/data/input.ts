// What somebody typed, as a value; or what is wrong with it.
import { NumberText, parse, RawText, shown } from "./json";
import type { Json } from "./json";
import type { Input } from "./shapes";

export type Typed = { value: Json } | { mistake: string };

export function readTyped(text: string, input: Input): Typed {
    switch (input.type) {
        case "integer":
        case "number":
            return readNumber(text.trim(), input);
        case "boolean":
            return { value: text === "true" };
        case "string":
            return readText(text, input);
        default:
            return readJson(text);
    }
}

function readNumber(text: string, input: Input): Typed {
    if (!/^-?(0|[1-9]\d*)(\.\d+)?([eE][+-]?\d+)?$/.test(text)) {
        return { mistake: mistakeOfNumber(text) };
    }
    if (input.type === "integer" && !/^-?\d+(\.0+)?$/.test(text)) {
        return { mistake: `${text} is no whole number.` };
    }
    const isBelow = input.minimum instanceof NumberText && compare(text, input.minimum.text) < 0;
    const isAbove = input.maximum instanceof NumberText && compare(text, input.maximum.text) > 0;
    if (isBelow || isAbove || !Number.isFinite(Number(text))) {
        return { mistake: `${text} is out of range: ${rangeText(input) || "no controller holds such a number"}.` };
    }
    return { value: new NumberText(text) };
}

function mistakeOfNumber(text: string): string {
    if (text === "") {
        return "A number is missing.";
    }
    return /^[+-]?\d+,\d+$/.test(text)
        ? `Write ${text.replace(",", ".").replace("+", "")}, with a point.`
        : `"${text}" is no number.`;
}

/** Below 0 where the first is the smaller one. Whole numbers are compared in all their digits. */
export function compare(one: string, other: string): number {
    const whole = /^-?\d+$/;
    if (whole.test(one) && whole.test(other)) {
        return Number(BigInt(one) > BigInt(other)) - Number(BigInt(one) < BigInt(other));
    }
    return Number(one) - Number(other);
}

function readText(text: string, input: Input): Typed {
    const most = input.maxLength instanceof NumberText ? Number(input.maxLength.text) : Infinity;
    const length = [...text].length;
    return length > most ? { mistake: `${length} characters; ${most} fit.` } : { value: text };
}

function readJson(text: string): Typed {
    try {
        parse(text);
        return { value: new RawText(text.trim()) };
    } catch (error) {
        return { mistake: `This is ${(error as Error).message}. A text stands in quotes: "like this".` };
    }
}

/** The numbers that fit, as an operator reads them; empty where any does. */
export function rangeText({ minimum, maximum, unit }: Input): string {
    const end = unit ? " " + unit : "";
    const [least, most] = [minimum, maximum].map((bound) => (isTelling(bound) ? shown(bound) : ""));
    if (least && most) {
        return `${least} to ${most}${end}`;
    }
    return least ? `at least ${least}${end}` : most ? `at most ${most}${end}` : "";
}

/** Bounds that only the width of a number sets say nothing to anybody. */
function isTelling(bound: Json | undefined): boolean {
    return bound instanceof NumberText && Math.abs(Number(bound.text)) < 1e18;
}

/** The value as it stands in a form before anybody touches it. */
export function typedText(value: Json | undefined, input: Input): string {
    const isText = input.type !== undefined && input.type !== "other";
    return value === undefined || value === null
        ? ""
        : isText || typeof value !== "string"
          ? shown(value)
          : JSON.stringify(value);
}
