import { useCallback, useEffect, useState } from "preact/hooks";

export interface Answered<T> {
    answer: T | undefined;
    error: unknown;
    /** Asks again; what was answered before stays until then. */
    again: () => void;
}

/** Asks for something when the component is first shown and whenever one of `inputs` changes. */
export function useAnswer<T>(ask: (signal: AbortSignal) => Promise<T>, inputs: readonly unknown[]): Answered<T> {
    const [answer, setAnswer] = useState<T>();
    const [error, setError] = useState<unknown>();
    const [turn, setTurn] = useState(0);
    useEffect(() => {
        const abort = new AbortController();
        ask(abort.signal).then(
            (value) => {
                if (!abort.signal.aborted) {
                    setAnswer(() => value);
                    setError(undefined);
                }
            },
            (reason: unknown) => abort.signal.aborted || setError(reason),
        );
        return () => abort.abort();
    }, [...inputs, turn]);
    const again = useCallback(() => setTurn((before) => before + 1), []);
    return { answer, error, again };
}
