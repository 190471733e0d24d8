
// --- Questions: what a plan asks a person, and the keys that answer ---

const pictureOf = (words) => `/api/picture?${new URLSearchParams(words)}`;

// The question that a set's run waits with; empty without one.
class QuestionBox {
    constructor(set) {
        this.set = set;
        this.shown = '';
        this.text = make('div', { class: 'question' });
        this.trouble = make('div', {});
        this.element = make('div', {}, this.text, this.trouble);
    }

    show(prompt) {
        const shown = prompt ? String(prompt.prompt) : '';
        if (shown === this.shown) {
            return;
        }
        this.shown = shown;
        this.text.replaceChildren();
        if (!prompt) {
            return;
        }
        this.trouble.replaceChildren();
        const picture = prompt.shown ? [make('img', {
            class: prompt.beside ? 'asked pair' : 'asked',
            alt: prompt.beside ? 'Left the picture as it should be, right what the set shows' : 'What the set shows',
            src: pictureOf({ set: this.set, prompt: prompt.prompt, number: Date.now() }),
        })] : [];
        this.text.append(make('p', { class: 'text', role: 'alert' }, prompt.text), ...picture);
        if (mayChange()) {
            this.text.append(make('div', { class: 'answers' }, ...this.answers(prompt)));
            this.text.querySelector('input')?.focus();
        }
    }

    give(prompt, answer) {
        return attempt(this.trouble, async () => {
            const { taken, why } = await post('/api/answer', { set: this.set, prompt: prompt.prompt, answer, who: remembered('operator') });
            if (!taken) {
                throw new Error(`Your answer does not count: ${why}`);
            }
        });
    }

    answers(prompt) {
        const button = (answer, text, at) => make('button', { type: 'button', class: 'large', 'data-key': at, onclick: () => this.give(prompt, answer) },
            make('kbd', {}, String(at)), ` ${text}`);
        switch (prompt.kind) {
        case 'ask':
            return [button('yes', 'Yes', 1), button('no', 'No', 2)];
        case 'choose':
            return prompt.choices.map((choice, at) => button(choice, choice, at + 1));
        case 'scan': {
            const input = make('input', { class: 'scan', autocomplete: 'off', spellcheck: 'false' });
            return [make('form', { onsubmit: (event) => { event.preventDefault(); this.give(prompt, input.value); } },
                labeled('Scan', input, 'scan or type, then Enter'), make('button', { class: 'large' }, 'Give'))];
        }
        default:
            return prompt.answered === false ? [] : [button('done', 'Done', 1)];
        }
    }
}

// A scanner types a code in no time; a digit of it is no answer.
const kScannerPause = 120;
const keys = { last: -kScannerPause, answer: 0 };

// The button that a digit means: of the question that has the focus, or of the only one that there is.
function answerButton(key, target) {
    const questions = [...document.querySelectorAll('.question')].filter((one) => one.childElementCount);
    const meant = questions.length === 1 ? questions[0] : target.closest('.slot')?.querySelector('.question');
    if (!meant && questions.length) {
        questions[0].querySelector('button, input')?.focus();
    }
    return meant?.querySelector(`[data-key="${CSS.escape(key)}"]`);
}

document.addEventListener('keydown', (event) => {
    clearTimeout(keys.answer);
    const isTyped = event.key.length === 1 && !event.ctrlKey && !event.altKey && !event.metaKey;
    if (!isTyped || event.target.matches('input, select, textarea')) {
        return;
    }
    const isSlow = event.timeStamp - keys.last >= kScannerPause;
    keys.last = event.timeStamp;
    const button = isSlow ? answerButton(event.key, event.target) : null;
    if (button) {
        keys.answer = setTimeout(() => button.click(), kScannerPause);
        return;
    }
    // What is scanned goes to the only field for it, wherever the focus was.
    const fields = [...document.querySelectorAll('input.scan')].filter((one) => one.offsetParent);
    if (fields.length === 1 && event.key !== ' ') {
        fields[0].focus();
    }
});
