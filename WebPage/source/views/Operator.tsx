import { Head } from "../parts/Shell";

export function Operator() {
    return <section class="view"><Head title="Operator" /></section>;
}
