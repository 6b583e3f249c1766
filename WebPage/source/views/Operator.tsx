import { useEffect, useMemo } from "preact/hooks";
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
    useEffect(() => (underWay === shown ? undefined : go("/operator", { folder, plan: underWay }, "replace")), [underWay, shown]);
    const back = <button type="button" onClick={() => go("/operator", { folder })}>Back to the recipes</button>;
    return (
        <>
            <TopBar bare />
            <LinkBar />
            <main id="main" class="operator">
                {shown === "" || !may("activate") ? <ChooseRecipe onLook={(recipe) => go("/operator", { folder, plan: recipe })} />
                              : <PlanAndOutcome key={shown} recipe={shown} back={back} isBare />}
            </main>
            <StatusRegion />
        </>
    );
}
