interface SearchFieldProps {
    /** What is searched, such as "types". */
    what: string;
    value: string;
    onInput: (text: string) => void;
}

/** The search above a table: arrow down leads into the table, Escape empties it. */
export function SearchField({ what, value, onInput }: SearchFieldProps) {
    const onKeyDown = (event: KeyboardEvent) => {
        if (event.key === "ArrowDown") {
            event.preventDefault();
            document.querySelector<HTMLElement>("main .grid")?.focus();
        } else if (event.key === "Escape") {
            event.preventDefault();
            onInput("");
        }
    };
    return (
        <input
            type="search"
            placeholder={`Search ${what}  ( / )`}
            aria-label={`Search ${what}`}
            value={value}
            onInput={(event) => onInput(event.currentTarget.value)}
            onKeyDown={onKeyDown}
        />
    );
}
