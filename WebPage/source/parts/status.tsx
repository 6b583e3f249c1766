import { useEffect } from "preact/hooks";
import { Store, useStore } from "../data/store";
import { Text } from "./Text";

const said = new Store("");

/** Tells what was done: shown for some seconds, and read out by screen readers. */
export function say(text: string): void {
    said.set("");
    said.set(text);
}

/** The one place where `say` is seen. */
export function StatusRegion() {
    const text = useStore(said);
    useEffect(() => {
        if (text) {
            const timer = setTimeout(() => said.set(""), 6000);
            return () => clearTimeout(timer);
        }
        return undefined;
    }, [text]);
    return (
        <div class={text ? "status-region shown" : "status-region"} role="status" aria-live="polite">
            {text && <Text>{text}</Text>}
        </div>
    );
}
