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
            if (before instanceof HTMLElement && before.isConnected) {
                before.focus();
            }
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
