import type { ComponentChildren } from "preact";
import { useEffect, useLayoutEffect, useRef } from "preact/hooks";
import { active } from "../data/active";
import { link, useNews } from "../data/live";
import { place } from "../data/router";
import { may, session, signOut } from "../data/session";
import { useStore } from "../data/store";
import { ageText } from "./Live";
import { OwnName } from "./OwnName";
import { StatusRegion } from "./status";
import { EntryName, Link, Text } from "./Text";

interface NavEntry {
    path: string;
    title: string;
    /** The paths of views that belong to it. */
    also?: string[];
    right?: "edit" | "administer";
}

const entries: NavEntry[] = [
    { path: "/recipes", title: "Recipes", also: ["/recipe", "/plan"] },
    { path: "/active", title: "Active now" },
    { path: "/symbols", title: "Symbols" },
    { path: "/types", title: "Types", also: ["/type"] },
    { path: "/import", title: "Import and export" },
    { path: "/history", title: "History", also: ["/record"] },
    { path: "/check", title: "Check" },
    { path: "/users", title: "Users", right: "administer" },
];

/** What stands around every view but the operator's. */
export function Shell({ children }: { children: ComponentChildren }) {
    const { path } = useStore(place);
    useSearchKey();
    return (
        <>
            <a class="skip" href="#main">
                Skip to the content
            </a>
            <TopBar />
            <LinkBar />
            <div class="frame">
                <Views path={path} />
                <main id="main" tabIndex={-1}>
                    {children}
                </main>
            </div>
            <StatusRegion />
        </>
    );
}

function Views({ path }: { path: string }) {
    const nav = useRef<HTMLElement>(null);
    // Where they stand in one line that is longer than the screen.
    useLayoutEffect(
        () => nav.current?.querySelector("[aria-current]")?.scrollIntoView({ block: "nearest", inline: "center" }),
        [path],
    );
    return (
        <nav ref={nav} aria-label="Views">
            {entries.map(({ path: to, title, also, right }) =>
                right && !may(right) ? null : (
                    <Link to={to} current={path === to || also?.includes(path) === true}>
                        {title}
                    </Link>
                ),
            )}
        </nav>
    );
}

export function TopBar({ bare }: { bare?: boolean }) {
    const signedIn = useStore(session);
    return (
        <header class="top">
            <div class="brand">
                <img src="/icon.svg" alt="" width="24" height="24" />
                <span class="project">
                    <Text>{signedIn?.project || "Ravik"}</Text>
                </span>
            </div>
            <ActiveRecipes linked={!bare} />
            <LinkState />
            <div class="who">
                <OwnName />
                <span class="role">{signedIn?.role}</span>
                <button type="button" class="quiet" onClick={() => void signOut()}>
                    Sign out
                </button>
            </div>
        </header>
    );
}

/** The names of what is active; greyed while that can't be known. */
function ActiveRecipes({ linked }: { linked: boolean }) {
    const state = useStore(active);
    const { isOpen } = useStore(link);
    const isKnown = isOpen && state.isKnown;
    const age = useNews(() => (isKnown ? 0 : Math.floor((Date.now() - state.asked) / 1000)), [isKnown, state.asked]);
    if (state.asked === 0) {
        return <div class="active-recipes" />;
    }
    return (
        <div
            class={isKnown ? "active-recipes" : "active-recipes stale"}
            title={state.error}
            role="group"
            aria-label="Active recipes"
        >
            <span class="label">Active</span>
            {state.active.length === 0 && <span class="nothing">no recipe</span>}
            {state.active.length > 0 && (
                <span class="chips" tabIndex={linked ? undefined : 0}>
                    {state.active.slice(0, 4).map(({ recipe }) =>
                        linked ? (
                            <Link to="/recipe" query={{ name: recipe }} class="chip">
                                <EntryName name={recipe} />
                            </Link>
                        ) : (
                            <span class="chip">
                                <EntryName name={recipe} />
                            </span>
                        ),
                    )}
                </span>
            )}
            {state.active.length > 1 &&
                (linked ? (
                    <Link to="/active">{state.active.length} in all</Link>
                ) : (
                    <span>{state.active.length} in all</span>
                ))}
            {state.unread.length > 0 && (
                <span class="state bad" title={state.unread[0]?.text}>
                    {state.unread.length} unread
                </span>
            )}
            {!isKnown && <span class="age">{ageText(age)}</span>}
        </div>
    );
}

function LinkState() {
    const { isOpen } = useStore(link);
    return (
        <div class={isOpen ? "link good" : "link bad"}>
            <span aria-hidden="true">{isOpen ? "●" : "✕"}</span> {isOpen ? "linked" : "link lost"}
        </div>
    );
}

/** Across the whole page as long as nothing is heard. */
export function LinkBar() {
    const { isOpen, heard } = useStore(link);
    const seconds = useNews(() => (isOpen ? 0 : Math.floor((Date.now() - heard) / 1000)), [isOpen, heard]);
    return isOpen || seconds < 2 ? null : (
        <div class="link-bar" role="alert">
            <strong>Link lost.</strong> Nothing was heard of the service for <span aria-hidden="true">{seconds} s</span>
            <span class="hidden">some time</span>. Values are as old as they say, and nothing can be activated.
        </div>
    );
}

/** `/` leads to the view's search field. */
function useSearchKey(): void {
    useEffect(() => {
        const onKey = (event: KeyboardEvent) => {
            const isTyping = event.target instanceof Element && event.target.closest("input, textarea, select, dialog");
            const field = document.querySelector<HTMLInputElement>("main input[type=search]");
            if (event.key === "/" && !isTyping && !event.ctrlKey && !event.altKey && field) {
                event.preventDefault();
                field.focus();
                field.select();
            }
        };
        addEventListener("keydown", onKey);
        return () => removeEventListener("keydown", onKey);
    }, []);
}

/** The head of a view: its title, and at the right what can be done. */
export function Head({
    title,
    children,
    note,
}: {
    title: ComponentChildren;
    children?: ComponentChildren;
    note?: ComponentChildren;
}) {
    return (
        <div class="head">
            <div class="head-title">
                <h1>{title}</h1>
                {note && <p class="note">{note}</p>}
            </div>
            {children && <div class="actions">{children}</div>}
        </div>
    );
}
