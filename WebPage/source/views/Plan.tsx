import { place } from "../data/router";
import { may, session } from "../data/session";
import { useStore } from "../data/store";
import { PlanAndOutcome } from "../parts/plan/PlanAndOutcome";
import { Empty } from "../parts/State";
import { Link } from "../parts/Text";

export function Plan() {
    const { query } = useStore(place);
    const recipe = query.get("name") ?? "";
    if (recipe === "") {
        return (
            <Empty title="No recipe was chosen.">
                <Link to="/recipes">To the recipes</Link>
            </Empty>
        );
    }
    if (!may("activate")) {
        return (
            <Empty title={`The role ${session.value?.role} may not activate recipes.`}>
                <Link to="/recipe" query={{ name: recipe }}>
                    To the recipe
                </Link>
            </Empty>
        );
    }
    const back = (
        <Link to="/recipe" query={{ name: recipe }} class="button">
            The recipe
        </Link>
    );
    return <PlanAndOutcome key={recipe} recipe={recipe} back={back} />;
}
