import type { Place } from "./router";

const titles: Record<string, string> = {
    "/operator": "Operator",
    "/recipes": "Recipes",
    "/active": "Active now",
    "/symbols": "Symbols",
    "/types": "Types",
    "/import": "Import and export",
    "/history": "History",
    "/check": "Check",
    "/users": "Users and tokens",
};

/** What a tab of the browser is called that shows this, and an entry of its history. */
export function titleOf({ path, query }: Place): string {
    const name = query.get("name") ?? "";
    const plan = path === "/plan" ? name : path === "/operator" ? (query.get("plan") ?? "") : "";
    const shown = plan
        ? `Plan of ${plan}`
        : path === "/record"
          ? `Record ${query.get("id") ?? ""}`
          : titles[path] || name;
    return shown ? `${shown} – Ravik` : "Ravik";
}
