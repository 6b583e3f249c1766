import { useEffect, useLayoutEffect, useMemo, useRef, useState } from "preact/hooks";

export interface MenuItem {
    title: string;
    /** Why it can't be done now; it is shown and can be walked to all the same. */
    hindrance?: string | undefined;
    /** What is taken away by it is told apart. */
    danger?: boolean;
    act: () => void;
}

interface MenuProps {
    label: string;
    items: MenuItem[];
    /** What it belongs to, and stands at. */
    place: Element;
    onClose: () => void;
}

/** A menu over the page; arrows walk, Enter takes, Escape and a press elsewhere close it. */
export function Menu({ label, items, place, onClose }: MenuProps) {
    const menu = useRef<HTMLDivElement>(null);
    const before = useMemo(() => document.activeElement, []);
    // What isn't seen yet takes no focus, so it is put in its place first.
    useLayoutEffect(() => {
        Object.assign(menu.current!.style, besides(place.getBoundingClientRect(), menu.current!));
        menu.current!.querySelector("button")?.focus();
    }, [place]);
    useEffect(() => {
        const onPress = (event: Event) => !menu.current!.contains(event.target as Node) && onClose();
        addEventListener("pointerdown", onPress, true);
        return () => removeEventListener("pointerdown", onPress, true);
    }, []);
    const leave = () => {
        if (before instanceof HTMLElement) {
            before.focus();
        }
        onClose();
    };
    const onKeyDown = (event: KeyboardEvent) => {
        const buttons = [...menu.current!.querySelectorAll<HTMLButtonElement>("button")];
        const at = buttons.indexOf(document.activeElement as HTMLButtonElement);
        const steps: Record<string, number> = { ArrowDown: at + 1, ArrowUp: at - 1, Home: 0, End: -1 };
        const to = steps[event.key];
        if (to !== undefined) {
            event.preventDefault();
            buttons.at(to % buttons.length)!.focus();
        } else if (event.key === "Escape" || event.key === "Tab") {
            event.preventDefault();
            leave();
        }
    };
    return (
        <div ref={menu} class="menu" role="menu" aria-label={label} onKeyDown={onKeyDown}>
            {items.map(({ title, danger, hindrance, act }) => (
                <button
                    type="button"
                    role="menuitem"
                    tabIndex={-1}
                    aria-disabled={!!hindrance}
                    class={danger ? "quiet danger-text" : "quiet"}
                    onClick={() => hindrance || (leave(), act())}
                >
                    {title}
                    {hindrance && <span class="hint">{hindrance}</span>}
                </button>
            ))}
        </div>
    );
}

/** A button that opens a menu under it. */
export function MenuButton({ title, items }: { title: string; items: MenuItem[] }) {
    const [place, setPlace] = useState<Element>();
    return (
        <>
            <button
                type="button"
                aria-haspopup="menu"
                aria-expanded={!!place}
                onClick={(event) => setPlace(place ? undefined : event.currentTarget)}
            >
                {title} <span aria-hidden="true">▾</span>
            </button>
            {place && <Menu label={title} items={items} place={place} onClose={() => setPlace(undefined)} />}
        </>
    );
}

/** Under what it belongs to, at its end; above where there is no room. */
function besides(place: DOMRect, menu: HTMLElement): Record<string, string> {
    const { offsetWidth: width, offsetHeight: height } = menu;
    const top = place.bottom + height + 8 > innerHeight ? Math.max(8, place.top - height) : place.bottom;
    const left = Math.max(8, Math.min(place.right - width, innerWidth - width - 8));
    return { top: `${top}px`, left: `${left}px` };
}
