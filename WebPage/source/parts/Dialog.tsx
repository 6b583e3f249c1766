import type { ComponentChildren } from "preact";
import { useId, useLayoutEffect, useRef } from "preact/hooks";

interface DialogProps {
    title: string;
    onClose: () => void;
    children: ComponentChildren;
    wide?: boolean;
}

/** A dialog over the page, which is out of reach meanwhile. Escape closes it. */
export function Dialog({ title, onClose, children, wide }: DialogProps) {
    const dialog = useRef<HTMLDialogElement>(null);
    const id = useId();
    // Before the effects of what stands in it, which may move the focus.
    useLayoutEffect(() => {
        const shown = dialog.current;
        const before = document.activeElement;
        shown?.showModal();
        return () => {
            shown?.close();
            focusAgain(before);
        };
    }, []);
    const cancel = (event: Event) => {
        event.preventDefault();
        onClose();
    };
    return (
        <dialog ref={dialog} class={wide ? "wide" : undefined} aria-labelledby={id} onCancel={cancel}>
            <div class="dialog-head">
                <h2 id={id}>{title}</h2>
                <button type="button" class="quiet icon" aria-label="Close" onClick={onClose}>
                    ✕
                </button>
            </div>
            {children}
        </dialog>
    );
}

/** Where the dialog came from; the table or the view where that is gone, or can't be used any more. */
function focusAgain(before: Element | null): void {
    const candidates = [before, document.querySelector("main .grid"), document.querySelector("main")];
    candidates.some((element) => {
        (element as HTMLElement | null)?.focus();
        return element !== document.body && document.activeElement === element;
    });
}
