import "./style/page.css";
import { render } from "preact";
import type { JSX } from "preact";
import { startActive } from "./data/active";
import { startLive } from "./data/live";
import { startLists } from "./data/recipes";
import { place, startRouter } from "./data/router";
import { begin, session } from "./data/session";
import { useStore } from "./data/store";
import { Shell } from "./parts/Shell";
import { Empty } from "./parts/State";
import { Link } from "./parts/Text";
import { Active } from "./views/Active";
import { Check } from "./views/Check";
import { History } from "./views/History";
import { Import } from "./views/Import";
import { Operator } from "./views/Operator";
import { Plan } from "./views/Plan";
import { Recipe } from "./views/Recipe";
import { Recipes } from "./views/Recipes";
import { Record } from "./views/Record";
import { SignIn } from "./views/SignIn";
import { Symbols } from "./views/Symbols";
import { Type } from "./views/Type";
import { Types } from "./views/Types";
import { Users } from "./views/Users";

const views: Record<string, () => JSX.Element> = {
    "/": Start,
    "/operator": Operator,
    "/recipes": Recipes,
    "/recipe": Recipe,
    "/plan": Plan,
    "/active": Active,
    "/symbols": Symbols,
    "/types": Types,
    "/type": Type,
    "/import": Import,
    "/history": History,
    "/record": Record,
    "/check": Check,
    "/users": Users,
};

function App() {
    const signedIn = useStore(session);
    const { path } = useStore(place);
    if (signedIn === undefined) {
        return <main class="starting" aria-busy="true" />;
    }
    if (signedIn === null) {
        return <SignIn />;
    }
    const View = views[path] ?? Nowhere;
    const isBare = path === "/operator" || (path === "/" && signedIn.role === "operator");
    return isBare ? <Operator /> : <Shell><View key={path} /></Shell>;
}

function Start() {
    return <Recipes />;
}

function Nowhere() {
    return <Empty title="There is no such view."><Link to="/recipes">To the recipes</Link></Empty>;
}

startRouter();
startLive();
startActive();
startLists();
render(<App />, document.body);
void begin();
