/** The page's views with something to show of the bottling line, each as the role that it is for. */
export const views = [
    { name: "sign-in", path: "/" },
    { name: "operator", path: "/operator?folder=Products", role: "operator" },
    { name: "operator-plan", path: "/operator?folder=Products&plan=Products::Spring500", role: "operator" },
    { name: "recipes", path: "/recipes", role: "engineer" },
    { name: "recipe", path: "/recipe?name=Filling::Lemonade330", role: "engineer" },
    { name: "plan", path: "/plan?name=Products::Spring500", role: "engineer" },
    { name: "active", path: "/active", role: "engineer" },
    { name: "symbols", path: "/symbols", role: "engineer" },
    { name: "types", path: "/types", role: "engineer" },
    { name: "type", path: "/type?name=Filling::Carbonated", role: "engineer" },
    { name: "import", path: "/import", role: "engineer" },
    { name: "history", path: "/history", role: "engineer" },
    { name: "record", path: "/record?id=1", role: "engineer" },
    { name: "check", path: "/check", role: "engineer" },
    { name: "users", path: "/users", role: "admin" },
];

/** Waits until the view that is opened shows what it has read. */
export async function settled(page) {
    const isBusy = "[aria-busy=true], .loading";
    await page.waitForFunction((busy) => document.querySelector("h1") && !document.querySelector(busy), isBusy);
}
