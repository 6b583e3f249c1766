import { useCallback, useEffect, useState } from "preact/hooks";
import { makePlan, planLife } from "../../data/activation";
import type { Plan } from "../../data/activation";
import { useNews } from "../../data/live";
import { readUnits } from "../../data/units";

export interface Planned {
    plan: Plan | undefined;
    error: unknown;
    isReading: boolean;
    isExpired: boolean;
    again: () => void;
}

/** Has the controllers read and the plan made; the one before stays until then. Nothing is asked by a clock. */
export function usePlan(recipe: string, isWanted: boolean): Planned {
    const [turn, setTurn] = useState(0);
    const [made, setMade] = useState<{ plan?: Plan; error?: unknown; isReading: boolean }>({ isReading: isWanted });
    useEffect(() => {
        if (!isWanted && turn === 0) {
            return undefined;
        }
        const abort = new AbortController();
        setMade((before) => ({ ...before, isReading: true }));
        makePlan(recipe, abort.signal).then(
            (plan) => abort.signal.aborted || setMade({ plan, isReading: false }),
            (error: unknown) => abort.signal.aborted || setMade({ error, isReading: false }),
        );
        return () => abort.abort();
    }, [recipe, turn]);
    const end = made.plan ? made.plan.made + planLife : Infinity;
    const isExpired = useNews(() => Date.now() >= end, [end]);
    const again = useCallback(() => setTurn((before) => before + 1), []);
    return { plan: made.plan, error: made.error, isReading: made.isReading, isExpired, again };
}

const none: ReadonlyMap<string, string> = new Map();

/** The units of the recipe's symbols; they come after the plan, which does not wait for them. */
export function useUnits(recipe: string): ReadonlyMap<string, string> {
    const [units, setUnits] = useState(none);
    useEffect(() => {
        const abort = new AbortController();
        readUnits(recipe, abort.signal).then(
            (found) => abort.signal.aborted || setUnits(found),
            () => {},
        );
        return () => abort.abort();
    }, [recipe]);
    return units;
}
