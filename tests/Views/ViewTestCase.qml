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

    function luminance(c: color): real {
        const linear = v => v <= 0.04045 ? v / 12.92 : Math.pow((v + 0.055) / 1.055, 2.4);
        return 0.2126 * linear(c.r) + 0.7152 * linear(c.g) + 0.0722 * linear(c.b);
    }

    function contrast(a: color, b: color): real {
        const la = luminance(a);
        const lb = luminance(b);
        return (Math.max(la, lb) + 0.05) / (Math.min(la, lb) + 0.05);
    }
}
