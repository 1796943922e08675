import QtQuick
import QtTest

// What the cases of all views need: to find an item as assistive technology finds it.
TestCase {
    when: windowShown

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

    function shows(item: Item, text: string): bool {
        return item.visible && (item.text === text
            || Array.from(item.children).some(child => shows(child, text)));
    }
}
