import { useEffect, useMemo, useRef } from "preact/hooks";
import { attempt, isUnderWay, resume } from "../data/activation";
import { go, place } from "../data/router";
import { may } from "../data/session";
import { useStore } from "../data/store";
import { ChooseRecipe } from "../parts/plan/ChooseRecipe";
import { PlanAndOutcome } from "../parts/plan/PlanAndOutcome";
import { LinkBar, TopBar } from "../parts/Shell";
import { StatusRegion } from "../parts/status";

/** What a panel at a machine shows: the recipes of a folder, the plan, the outcome. */
export function Operator() {
    const { query } = useStore(place);
    useMemo(resume, []);
    const made = useStore(attempt);
    const folder = query.get("folder") ?? "";
    const shown = query.get("plan") ?? "";
    // What is being written is in sight, also after the page was loaded anew.
    const underWay = isUnderWay(made) ? made!.recipe : shown;
    useEffect(
        () => (underWay === shown ? undefined : go("/operator", { folder, plan: underWay }, "replace")),
        [underWay, shown],
    );
    const main = useRef<HTMLElement>(null);
    const before = useRef(shown);
    // The button that led here is gone: who works by keyboard goes on from the top of what is shown now.
    useEffect(() => {
        if (before.current !== shown) {
            before.current = shown;
            main.current?.focus();
        }
    }, [shown]);
    const back = (
        <button type="button" onClick={() => go("/operator", { folder })}>
            Back to the recipes
        </button>
    );
    return (
        <>
            <TopBar bare />
            <LinkBar />
            <main ref={main} id="main" class="operator" tabIndex={-1}>
                {shown === "" || !may("activate") ? (
                    <ChooseRecipe onLook={(recipe) => go("/operator", { folder, plan: recipe })} />
                ) : (
                    <PlanAndOutcome key={shown} recipe={shown} back={back} isBare />
                )}
            </main>
            <StatusRegion />
        </>
    );
}
