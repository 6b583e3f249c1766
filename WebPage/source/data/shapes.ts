// What the service's answers consist of. Values of recipes and symbols stay as `parse` returned them.
import type { Json } from "./json";

/** What a form has to know of a value. */
export interface Input {
    type?: "number" | "integer" | "boolean" | "string" | "other";
    minimum?: Json;
    maximum?: Json;
    choices?: Json[];
    maxLength?: Json;
    unit?: string;
}

export interface Member {
    name: string;
    /** The type that it stands in: the one asked for, or one that this inherits from. */
    type: string;
    symbol: string | null;
    domain: string | null;
    default: Json;
    nestedType: string | null;
    enabled: boolean;
    /** By how much the controller may be off. */
    tolerance?: Json;
    input: Json;
}

export interface Change {
    time: string;
    who: string;
    id: number;
}

export interface RecipeItem {
    name: string;
    kind: "recipe" | "folder";
    type?: string;
    count?: number;
    changed?: Change | null;
}

export interface TypeItem {
    name: string;
    kind: "type" | "folder";
    inherits?: string[];
    members?: number;
    count?: number;
    changed?: Change | null;
}

/** A row of a plan, an activation or a comparison; which of the values it has depends on which. */
export interface Row {
    symbol: string;
    domain: string;
    member: string;
    before?: Json;
    value?: Json;
    after?: Json;
    stored?: Json;
    live?: Json;
    other?: Json;
    state: string;
    text: string;
}

export type Counts = Record<string, Json>;

export interface ActiveRecipe {
    recipe: string;
    since: string | null;
    by: string | null;
}

export interface Active {
    active: ActiveRecipe[];
    unread: { recipe: string; text: string }[];
}

export interface HistoryItem {
    id: number;
    time: string;
    who: string;
    action: string;
    asked: string;
    outcome: string;
    text: string;
    note: string;
}

export interface Finding {
    path: string;
    kind: string;
    text: string;
    note: boolean;
}
