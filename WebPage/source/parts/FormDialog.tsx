import type { ComponentChildren } from "preact";
import { useEffect, useRef, useState } from "preact/hooks";
import { Dialog } from "./Dialog";
import { Failure } from "./State";

interface FormDialogProps {
    title: string;
    /** What the button does. */
    action: string;
    isDanger?: boolean;
    onClose: () => void;
    /** Closes the dialog in its end, or throws what is then shown in it. */
    onSubmit: (form: FormData) => Promise<void>;
    children: ComponentChildren;
}

/** A question with fields to fill in, and what is wrong with the answer. */
export function FormDialog({ title, action, isDanger, onClose, onSubmit, children }: FormDialogProps) {
    const [error, setError] = useState<unknown>();
    const [isBusy, setIsBusy] = useState(false);
    const form = useRef<HTMLFormElement>(null);
    useEffect(() => form.current!.querySelector<HTMLElement>("input, select, textarea")?.focus(), []);
    const submit = async (event: SubmitEvent) => {
        event.preventDefault();
        setIsBusy(true);
        setError(undefined);
        try {
            await onSubmit(new FormData(event.target as HTMLFormElement));
        } catch (reason) {
            setError(reason);
            setIsBusy(false);
        }
    };
    return (
        <Dialog title={title} onClose={onClose}>
            <form ref={form} class="form" onSubmit={submit}>
                {children}
                {error !== undefined && <Failure error={error} />}
                <div class="actions">
                    <button type="button" onClick={onClose}>
                        Cancel
                    </button>
                    <button type="submit" class={isDanger ? "danger" : "primary"} disabled={isBusy}>
                        {action}
                    </button>
                </div>
            </form>
        </Dialog>
    );
}

export function textIn(form: FormData, name: string): string {
    return String(form.get(name) ?? "");
}
