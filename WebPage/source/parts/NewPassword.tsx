import { useId, useState } from "preact/hooks";

const shortest = 8;

/** A password typed twice, since nobody sees it; in a form it is the field `password`. */
export function NewPassword({ title, isOptional }: { title: string; isOptional?: boolean }) {
    const [first, setFirst] = useState("");
    const [second, setSecond] = useState("");
    const id = useId();
    const isShort = first !== "" && [...first].length < shortest;
    const isOther = second !== "" && second !== first;
    const mistake = isShort
        ? `A password has at least ${shortest} characters.`
        : isOther
          ? "The two are not the same."
          : "";
    const typed = (set: (text: string) => void) => (event: Event) => set((event.target as HTMLInputElement).value);
    const common = { type: "password", autocomplete: "new-password", "aria-describedby": id } as const;
    return (
        <>
            <label>
                {title}
                <input
                    {...common}
                    name="password"
                    value={first}
                    onInput={typed(setFirst)}
                    required={!isOptional}
                    aria-invalid={isShort}
                />
            </label>
            <label>
                {title}, once more
                <input
                    {...common}
                    value={second}
                    onInput={typed(setSecond)}
                    required={!isOptional || first !== ""}
                    aria-invalid={isOther}
                    ref={(field) =>
                        field?.setCustomValidity(
                            isShort || second !== first ? mistake || "The two are not the same." : "",
                        )
                    }
                />
            </label>
            <p id={id} class={mistake ? "mistake" : "hint"}>
                {mistake || `At least ${shortest} characters.`}
            </p>
        </>
    );
}
