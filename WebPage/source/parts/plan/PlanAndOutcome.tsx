import type { ComponentChildren } from "preact";
import { useEffect, useMemo, useState } from "preact/hooks";
import { activate, attempt, forget, isUnderWay, resume } from "../../data/activation";
import type { Attempt, Outcome, Plan } from "../../data/activation";
import { link } from "../../data/live";
import { may } from "../../data/session";
import { useStore } from "../../data/store";
import { Head } from "../Shell";
import { Failure, Loading, Notice } from "../State";
import { counted, EntryName, Link, Text } from "../Text";
import { CopyRows } from "./CopyRows";
import { PlanRows } from "./PlanRows";
import { Progress } from "./Progress";
import { countOf, ordered, standsAsAsked, toBeWritten } from "./rows";
import { usePlan, useUnits } from "./usePlan";
import type { Planned } from "./usePlan";
import { VerdictBox } from "./VerdictBox";
import type { Over } from "./VerdictBox";
import { WriteBar } from "./WriteBar";

interface PlanAndOutcomeProps {
    recipe: string;
    /** What leads away from here. */
    back?: ComponentChildren;
    /** For the operator, who has no other views to be led to. */
    isBare?: boolean;
}

/**
 * What an activation of the recipe would write, the button that writes it, and what came of it. What leads on stands at
 * the top and the button at the bottom, so that two touches at one place never write.
 */
export function PlanAndOutcome({ recipe, back, isBare }: PlanAndOutcomeProps) {
    // Before anything is drawn, so that no plan is made of what is under way.
    useMemo(resume, []);
    const made = useStore(attempt);
    const { isOpen } = useStore(link);
    const mine = made?.recipe === recipe ? made : undefined;
    const planned = usePlan(recipe, mine === undefined);
    const units = useUnits(recipe);
    useEffect(() => () => forget(recipe), []);
    const isRefused = mine?.stage.name === "refused";
    const isChanged = isRefused && (mine.stage as Extract<Over, { name: "refused" }>).problem.code === "PLAN_CHANGED";
    // What would be written now is shown at once; writing it takes a look and another press.
    useEffect(() => (isChanged ? planned.again() : undefined), [isChanged]);
    const lookAnew = () => {
        forget(recipe);
        planned.again();
    };
    const outcome = mine?.stage.name === "ended" ? mine.stage.outcome : undefined;
    return (
        <section class={`view fill plan${isBare ? " bare" : ""}${isOpen ? "" : " stale"}`}>
            <Head title={<EntryName name={recipe} />} note={outcome ? "The outcome" : "What an activation writes"}>
                {!mine && (
                    <button type="button" disabled={planned.isReading} onClick={planned.again}>
                        Read again
                    </button>
                )}
                {!isUnderWay(mine) && back}
            </Head>
            {mine && isUnderWay(mine) && <Progress attempt={mine} />}
            {mine && !isUnderWay(mine) && (
                <VerdictBox recipe={recipe} stage={mine.stage as Over}>
                    {isChanged ? (
                        <button type="button" onClick={() => forget(recipe)}>
                            Go on with the new plan
                        </button>
                    ) : (
                        <button type="button" onClick={lookAnew}>
                            Look at the plan anew
                        </button>
                    )}
                    {outcome?.id !== undefined && !isBare && (
                        <Link to="/record" query={{ id: String(outcome.id) }}>
                            Its record
                        </Link>
                    )}
                </VerdictBox>
            )}
            {outcome && <OutcomeRows outcome={outcome} units={units} />}
            {/* Where nobody knows what was written, what was read before it stands in no table. */}
            {!outcome && mine?.stage.name !== "lost" && (
                <PlanPart recipe={recipe} planned={planned} made={made} mine={mine} units={units} />
            )}
        </section>
    );
}

interface PlanPartProps {
    recipe: string;
    planned: Planned;
    made: Attempt | undefined;
    mine: Attempt | undefined;
    units: ReadonlyMap<string, string>;
}

function PlanPart({ recipe, planned, made, mine, units }: PlanPartProps) {
    const { plan, error, isReading, again } = planned;
    const hindrance = useHindrance(planned, made, mine);
    if (plan === undefined) {
        const isFree = error !== undefined && !isReading;
        return isFree ? <Failure error={error} retry={again} /> : mine ? <></> : <Loading what="the controllers" />;
    }
    const write = (note: string, verify: boolean) => activate(plan, toBeWritten(plan.rows).length, note, verify);
    return (
        <>
            {planned.isExpired && !mine && (
                <Notice kind="warn">
                    <p>This plan is older than five minutes.</p>
                    <button type="button" onClick={again}>
                        Look at it anew
                    </button>
                </Notice>
            )}
            {made && !mine && (
                <Notice kind="info">
                    <p>
                        {isUnderWay(made) ? "Being written now: " : "Has ended meanwhile: "}
                        <Link to="/plan" query={{ name: made.recipe }}>
                            <EntryName name={made.recipe} />
                        </Link>
                    </p>
                </Notice>
            )}
            <PlannedRows plan={plan} units={units} isUnderWay={isUnderWay(mine)} />
            {!isUnderWay(mine) && (
                <WriteBar
                    key={recipe}
                    rows={plan.rows}
                    hindrance={hindrance}
                    mayLeaveUnverified={may("edit")}
                    onWrite={write}
                />
            )}
        </>
    );
}

/** Why nothing can be written now; empty where it can. */
function useHindrance({ isReading, isExpired }: Planned, made: Attempt | undefined, mine: Attempt | undefined): string {
    const { isOpen } = useStore(link);
    if (!isOpen) {
        return "The link is lost. Nothing can be activated.";
    }
    if (isReading) {
        return "The controllers are being read …";
    }
    if (isExpired) {
        return "This plan is too old.";
    }
    if (mine) {
        return "See above.";
    }
    return isUnderWay(made) ? "Another activation is under way." : "";
}

interface PlannedRowsProps {
    plan: Plan;
    units: ReadonlyMap<string, string>;
    isUnderWay: boolean;
}

function PlannedRows({ plan, units, isUnderWay: isWriting }: PlannedRowsProps) {
    const [showsAll, setShowsAll] = useState(false);
    const same = countOf(plan.rows, "same");
    const rows = useMemo(() => {
        const all = ordered(plan.rows, false);
        return showsAll ? all : all.filter(({ state }) => state !== "same");
    }, [plan, showsAll]);
    const empty = same > 0 ? "All of it stands in the controllers already." : "The recipe writes nothing.";
    return (
        <>
            <div class="rows-line">
                {isWriting ? <p class="counts">What is under way</p> : <PlanCounts plan={plan} />}
                {same > 0 && (
                    <button type="button" aria-pressed={showsAll} onClick={() => setShowsAll(!showsAll)}>
                        {showsAll ? "Only what differs" : "Show what is the same"}
                    </button>
                )}
            </div>
            <PlanRows rows={rows} phase={isWriting ? "under way" : "plan"} units={units} empty={empty} />
        </>
    );
}

function PlanCounts({ plan: { rows, made } }: { plan: Plan }) {
    const differing = countOf(rows, "differs");
    const unread = countOf(rows, "unread");
    const unwritten = countOf(rows, "not written");
    const read = new Date(made).toLocaleTimeString();
    return (
        <p class="counts">
            <strong>{counted(differing, "differs", "differ")}</strong>, {countOf(rows, "same")} the same,{" "}
            {unread > 0 ? <strong class="state bad">{unread} unread</strong> : "0 unread"}
            {unwritten > 0 && <>, {unwritten} written by no activation</>}
            <span class="quiet-text"> · read at {read}</span>
        </p>
    );
}

function OutcomeRows({ outcome, units }: { outcome: Outcome; units: ReadonlyMap<string, string> }) {
    const [isFiltered, setIsFiltered] = useState(false);
    const all = useMemo(() => ordered(outcome.rows, true), [outcome]);
    const amiss = useMemo(() => all.filter((row) => !standsAsAsked(row)), [all]);
    const rows = isFiltered ? amiss : all;
    return (
        <>
            <div class="rows-line">
                <OutcomeCounts outcome={outcome} />
                {amiss.length > 0 && amiss.length < all.length && (
                    <button type="button" aria-pressed={isFiltered} onClick={() => setIsFiltered(!isFiltered)}>
                        {isFiltered ? "Show all" : "Only what does not stand"}
                    </button>
                )}
                <CopyRows rows={rows} />
            </div>
            <PlanRows rows={rows} phase="outcome" units={units} empty="The recipe writes nothing." />
        </>
    );
}

const states = ["verified", "written", "differs", "failed", "not tried", "not written"];

function OutcomeCounts({ outcome: { rows } }: { outcome: Outcome }) {
    const counts = states.map((state) => ({ state, count: countOf(rows, state) })).filter(({ count }) => count > 0);
    return (
        <p class="counts">
            <Text>{counts.map(({ state, count }) => `${count} ${state}`).join(", ")}</Text>
        </p>
    );
}
