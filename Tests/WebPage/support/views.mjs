const product = "Products::Spring500";

/** The page's views, each as the role that it is for, and a text that it shows of the line where all is well. */
export const views = [
    { name: "sign-in", path: "/", shows: "Password" },
    { name: "operator", path: "/operator?folder=Products", role: "operator", shows: "Spring500" },
    { name: "operator-plan", path: `/operator?plan=${product}`, role: "operator", shows: /Write \d+ values/ },
    { name: "recipes", path: "/recipes", role: "engineer", shows: "Lemonade330" },
    { name: "recipe", path: "/recipe?name=Filling::Lemonade330", role: "engineer", shows: "FillVolume" },
    { name: "plan", path: `/plan?name=${product}`, role: "engineer", shows: /Write \d+ values/ },
    { name: "active", path: "/active", role: "engineer", shows: "Cola1500" },
    { name: "symbols", path: "/symbols", role: "engineer", shows: "Filler.FillVolume" },
    { name: "types", path: "/types", role: "engineer", shows: "Carbonated" },
    { name: "type", path: "/type?name=Filling::Carbonated", role: "engineer", shows: "SnifterTime" },
    { name: "import", path: "/import", role: "engineer", shows: /drop/i },
    { name: "history", path: "/history", role: "engineer", shows: "order 4711" },
    { name: "record", path: "/record?id=1", role: "engineer", shows: /import/ },
    { name: "check", path: "/check", role: "engineer", shows: /\d+ faults?,/ },
    { name: "users", path: "/users", role: "admin", shows: "engineer" },
];

/** Waits until the page shows what the view has read. */
export async function settled(page, { shows }) {
    await page.locator("main").getByText(shows).first().waitFor();
    await page.waitForFunction(() => !document.querySelector("[aria-busy=true], .loading"));
}
