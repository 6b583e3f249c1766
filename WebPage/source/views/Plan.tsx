import { Head } from "../parts/Shell";

export function Plan() {
    return <section class="view"><Head title="The plan" /></section>;
}
