import QtQuick
import QtTest

// What the cases of all views need: to find an item as assistive technology finds it, and to wait.
TestCase {
    when: windowShown

    // In milliseconds. QtTest itself gives up after five seconds, which a busy machine may need.
    // Counted by waits, so that time for which the whole machine stands still does not count. Where
    // one was in vain, others may be too, and a run has an end.
    property int patience: 30000

    function comesTrue(condition: var, step: int): bool {
        let holds = condition();
        for (let waited = 0; !holds && waited < patience; waited += step) {
            wait(step);
            holds = condition();
        }
        if (!holds)
            patience = 1000;
        return holds;
    }
    function tryVerify(condition: var, message = "") {
        const holds = comesTrue(condition, 5);
        verify(holds, `${message} in ${new Error().stack.split("\n")[1]}`);
    }
    function tryCompare(object: var, property: string, expected: var) {
        tryVerify(() => qtest_compareInternal(object[property], expected));
        compare(object[property], expected);
    }

    function find(item: Item, name: string): Item {
        if (item.Accessible.name === name && item.Accessible.role !== Accessible.NoRole)
            return item;
        for (const child of Array.from(item.children)) {
            const found = find(child, name);
            if (found)
                return found;
        }
        return null;
    }

    function visibleItems(item: Item): var {
        if (!item.visible || item.opacity === 0)
            return [];
        return Array.from(item.children).reduce((all, child) => all.concat(visibleItems(child)),
            Array.of(item));
    }

    function shows(item: Item, text: string): bool {
        return item.visible && (item.text === text
            || Array.from(item.children).some(child => shows(child, text)));
    }
}
