import QtQuick
import Tessivo
import TessivoTest

// Where the desktop has no save panel of its own.
LibraryTestCase {
    id: test

    name: "LoopExport"

    readonly property SavePanel panel: window && window.librarySheet
        ? window.librarySheet.savePanel as SavePanel : null
    property url folder

    function init() {
        Disk.fill(["Beat", "a/b\n2.5"]);
        folder = Disk.emptyFolder();
        SaveLocations.folder = folder;
        open();
    }
    function part(name) {
        return item(name, panel);
    }
    function ask(loop) {
        activate(sheet);
        mouseClick(rows()[loop], 100, 20, Qt.RightButton);
        tryVerify(() => shown("Export"));
        mouseClick(item("Export"));
        tryVerify(() => panel && part("Save As:")?.activeFocus);
    }
    function answered() {
        tryCompare(test, "panel", null);
        sheet.requestActivate();
        Disk.finish();
    }

    function test_the_copy_is_exact_and_gets_an_extension() {
        ask(1);
        compare(part("Save As:").text, "a-b-2.5");
        verify(panel.width >= 500 && panel.height >= 400);
        keyClick(Qt.Key_Return);
        answered();
        compare(Disk.listing(folder), ["a-b-2.5.wav"]);
        verify(Disk.isCopyOf(folder + "/a-b-2.5.wav", 1));
        verify(!shown("Error"));

        // What is there already is only replaced when that is wanted.
        ask(0);
        tryVerify(() => part("a-b-2.5.wav"));
        mouseClick(part("a-b-2.5.wav"));
        compare(part("Save As:").text, "a-b-2.5.wav");
        part("Save As:").text = "a-b-2.5";
        for (const [answer, loop] of [["Cancel", 1], ["Replace", 0]]) {
            keyClick(Qt.Key_Return, Qt.ControlModifier);
            const question = "'a-b-2.5.wav' already exists. Do you want to replace it?";
            tryVerify(() => shown(question, panel));
            const buttons = part(question).parent;
            mouseClick(find(buttons, answer));
            tryVerify(() => !panel || !shown(question, panel));
            Disk.finish();
            verify(Disk.isCopyOf(folder + "/a-b-2.5.wav", loop), answer);
        }
        answered();
        compare(Disk.listing(folder), ["a-b-2.5.wav"]);
    }

    function test_folders() {
        ask(0);
        mouseClick(part("New Folder"));
        tryVerify(() => shown("Create", panel) && panel.activeFocusItem?.text === "");
        for (const [text, makes] of [["", false], ["..", false], ["a/b", false], ["x", true]]) {
            panel.activeFocusItem.text = text;
            compare(part("Create").enabled, makes);
        }
        keyClick(Qt.Key_Return);
        const path = () => part("Enclosing folder").parent.children[2].text;
        tryVerify(() => path().endsWith("/Exports/x"));
        mouseClick(part("Save"));
        answered();
        verify(Disk.isCopyOf(folder + "/x/Beat.wav", 0));
        ask(0);
        verify(path().endsWith("/Exports/x"), "it begins where the last one ended");
        keyClick(Qt.Key_Escape);
        answered();
        compare(Disk.listing(folder + "/x"), ["Beat.wav"]);
    }

    function test_what_cannot_be_written_is_told_data() {
        return [
            { tag: "read-only", folder: "file:///proc", message: /^Failed to export loop: (?!Failed)./ },
            { tag: "a folder", folder: "", message: /There is a folder of that name/ },
            { tag: "a lost loop", folder: "", lost: true, message: /: Loop file not found$/ },
            { tag: "itself by a link", link: "soft", message: /onto itself/ },
            { tag: "itself by a hard link", link: "hard", message: /onto itself/ },
            { tag: "not here", folder: "smb://server/share", message: /smb:\/\/server/ }
        ];
    }
    function test_what_cannot_be_written_is_told(data) {
        ask(0);
        if (data.lost)
            Disk.removeFileOf(0);
        const where = data.folder || folder;
        if (data.tag === "a folder")
            SaveLocations.makeFolder(folder, "Beat.wav");
        panel.chosen(data.link ? Disk.linkTo(0, folder, data.link === "hard")
            : where + "/Beat.wav", true);
        answered();
        tryVerify(() => shown("Error"));
        verify(data.message.test(viewModel.errorMessage), viewModel.errorMessage);
        tryVerify(() => alertSays(viewModel.errorMessage));
        keyClick(Qt.Key_Return);
        tryVerify(() => !viewModel.showingError);
        compare(viewModel.errorMessage, "");
        compare(SaveLocations.folder, data.folder === "file:///proc" ? data.folder : folder);
    }

    // The desktop's own panel asks about the name that was typed, and we about the other.
    function test_panel_of_the_desktop_data() {
        return [{ tag: "free", name: "new", confirmed: true },
            { tag: "taken", name: "old", confirmed: false },
            { tag: "asked already", name: "old.wav", confirmed: true }];
    }
    function test_panel_of_the_desktop(data) {
        Disk.linkTo(0, folder, true);
        SaveLocations.makeFolder(folder, "old.wav");
        const maker = Qt.createComponent(
            "qrc:/qt-project.org/imports/Tessivo/SavePanel/NativeSavePanel.qml");
        const panel = createTemporaryObject(maker, sheet.contentItem,
            { window: sheet, proposedName: data.name });
        verify(panel, maker.errorString());
        const answers = [];
        panel.chosen.connect((destination, confirmed) => answers.push([destination, confirmed]));
        tryVerify(() => panel.visible);
        compare(panel.selectedFile, folder + "/" + data.name);
        panel.accept();
        tryVerify(() => answers.length === 1);
        compare(String(answers[0][0]), folder + "/" + data.name.slice(0, 3) + ".wav");
        compare(answers[0][1], data.confirmed);
    }

    function test_names_become_file_names() {
        const ended = name => SaveLocations.nameOf(
            SaveLocations.completed(SaveLocations.inFolder("file:///x", name)));
        compare(["a", "a.wav", "a.FLAC", "2.5", "Mr. Smith", ".a", "50% #1?", "a.b c", "a."]
            .map(ended), ["a.wav", "a.wav", "a.FLAC", "2.5.wav", "Mr. Smith.wav", ".a.wav",
                "50% #1?.wav", "a.b c.wav", "a..wav"]);
        const proposed = SaveLocations.proposedName("\u05e9\ud83c\udfb8".repeat(5000));
        verify(proposed.length > 50 && proposed.length < 110, proposed.length);
        verify(!/[\ud800-\udbff]$/.test(proposed), "no half of a character");
    }
}
