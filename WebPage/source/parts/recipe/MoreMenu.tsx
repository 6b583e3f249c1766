import type { ComponentChildren } from "preact";
import { useEffect, useRef, useState } from "preact/hooks";

/** A button that opens a list of others. Escape, a choice and a touch elsewhere close it. */
export function MoreMenu({ title, children }: { title: string; children: ComponentChildren }) {
    const [isOpen, setIsOpen] = useState(false);
    const frame = useRef<HTMLDivElement>(null);
    useEffect(() => {
        const leave = (event: Event) => event.target instanceof Node && !frame.current?.contains(event.target) && setIsOpen(false);
        const events = isOpen ? ["pointerdown", "focusin"] : [];
        events.forEach((name) => document.addEventListener(name, leave));
        return () => events.forEach((name) => document.removeEventListener(name, leave));
    }, [isOpen]);
    const onKeyDown = (event: KeyboardEvent) => {
        if (event.key === "Escape" && isOpen) {
            event.stopPropagation();
            setIsOpen(false);
            frame.current?.querySelector("button")?.focus();
        }
    };
    return (
        <div ref={frame} class="more-menu" onKeyDown={onKeyDown}>
            <button type="button" aria-expanded={isOpen} onClick={() => setIsOpen(!isOpen)}>{title} <span aria-hidden="true">▾</span></button>
            {isOpen && <div class="menu-items" onClick={() => setIsOpen(false)}>{children}</div>}
        </div>
    );
}
