pragma Singleton
import QtQuick
import Tessivo.Style

// The only place that knows colours, fonts, distances and where the icons are. The colours follow
// the desktop, also while the window is open, so that no view has to ask whether it is light or
// dark, and whether its user needs high contrast or little motion.
QtObject {
    id: theme

    readonly property SystemPalette systemPalette: SystemPalette { }
    readonly property bool systemIsDark:
        systemPalette.base.hslLightness < systemPalette.text.hslLightness
    readonly property bool dark: DesktopSettings.prefersDark
        || (systemIsDark && !DesktopSettings.prefersLight)
    readonly property bool highContrast: DesktopSettings.highContrast
    // Not every desktop tells the toolkit what it tells its portal.
    readonly property bool usesSystemPalette: dark === systemIsDark && !highContrast

    readonly property color controlBackground: usesSystemPalette ? systemPalette.base
        : shade("#ffffff", "#1e1e1e", "#ffffff", "#000000")
    readonly property color windowBackground: usesSystemPalette ? systemPalette.window
        : shade("#f0f0f0", "#2b2b2b", "#ffffff", "#000000")
    readonly property color primaryText: usesSystemPalette ? systemPalette.text
        : shade("#1a1a1a", "#f2f2f2", "#000000", "#ffffff")
    readonly property color secondaryText: faint(0.65)
    readonly property color unavailableText: highContrast ? gray : Qt.alpha(primaryText, 0.35)
    readonly property color accent: usesSystemPalette ? systemPalette.highlight
        : shade("#2466c4", "#3a7be0", "#00408f", "#8cc4ff")
    readonly property color accentText: usesSystemPalette ? systemPalette.highlightedText : onColor
    readonly property color buttonFace: highContrast ? controlBackground
                                                     : Qt.alpha(primaryText, 0.12)
    readonly property color outline: faint(0.1)
    readonly property color separator: faint(0.2)
    // Of a line in the text's colour, from which it has to differ with any contrast.
    readonly property color progressGroove: Qt.alpha(primaryText, highContrast ? 0.3 : 0.2)
    readonly property color scrollBar: faint(0.4)
    readonly property color fieldBorder: faint(0.5)
    readonly property color menuBorder: faint(0.3)
    readonly property color knob: dark ? "#d0d0d4" : "#ffffff"
    readonly property color knobBorder: highContrast ? primaryText : Qt.alpha("black", 0.35)
    readonly property color dimming: Qt.alpha("black", highContrast ? 0.6 : 0.3)
    readonly property color focusRing: accent
    readonly property color toolTipBackground: windowBackground
    readonly property color toolTipText: usesSystemPalette ? systemPalette.windowText : primaryText
    readonly property color toolTipBorder: faint(0.3)

    // Dark enough to be readable as text on a tint of the same colour and as the background of a
    // white icon, which the usual status colours are not. The dark desktop needs lighter ones.
    readonly property color red: shade("#cf2a22", "#f2463c", "#9c0f0a", "#ff9088")
    readonly property color green: shade("#178a3f", "#2fa84f", "#075226", "#5fe08a")
    readonly property color yellow: shade("#d19c00", "#d6a200", "#6b5000", "#ffd84d")
    readonly property color orange: shade("#e06a00", "#e8730c", "#843c00", "#ffb066")
    readonly property color blue: shade("#0a60c8", "#5aa2ff", "#00408f", "#8cc4ff")
    readonly property color gray: shade("#87878d", "#77777d", "#58585d", "#b4b4ba")
    readonly property color onColor: highContrast && dark ? "black" : "white"

    // Faces are told from what is behind them by their shade, or with high contrast by this edge.
    readonly property real faceBorder: highContrast ? 1 : 0

    readonly property real tint: 0.2
    readonly property real panelTint: 0.1
    readonly property real buttonTint: 0.12
    readonly property real scrollAreaOpacity: 0.5
    readonly property real overlayOpacity: 0.9
    readonly property real activeOpacity: 0.8
    readonly property real pressedOpacity: 0.7
    readonly property real unlitOpacity: 0.3

    readonly property font title: scaledSystemFont(1.3, Font.Bold)
    readonly property font mediumTitle: scaledSystemFont(1.3, Font.Medium)
    readonly property font headline: scaledSystemFont(1.1, Font.DemiBold)
    readonly property font subheadline: scaledSystemFont(0.95, Font.Normal)
    readonly property font body: scaledSystemFont(1, Font.Normal)
    readonly property font emphasizedBody: scaledSystemFont(1, Font.DemiBold)
    readonly property font caption: scaledSystemFont(0.9, Font.Normal)
    readonly property font emphasizedCaption: scaledSystemFont(0.9, Font.Medium)
    readonly property font monospacedBody: scaledSystemFont(1, Font.Normal, "monospace")
    readonly property font monospacedCaption: scaledSystemFont(0.9, Font.Normal, "monospace")
    readonly property int smallestPixelSize: 8
    readonly property int smallestPointSize: 6
    // Used where it is installed; elsewhere the desktop's font takes its place.
    readonly property font productName: Qt.font({
        family: "CircularStd-Bold",
        pixelSize: scaled(24),
        weight: Font.Bold
    })

    // What holds or accompanies texts grows with the desktop's font, from the largest one that a
    // desktop has by default.
    readonly property real scale: Math.max(1, Application.font.pointSize > 0
        ? Application.font.pointSize / 11 : Application.font.pixelSize / 15)
    readonly property real transportButtonSize: scaled(60)
    readonly property real meterWidth: scaled(300)
    readonly property real meterHeight: scaled(20)

    // The largest size at which a line of that height fits.
    function timeFont(lineHeight: real): font {
        return Qt.font({
            family: Application.font.family,
            pixelSize: Math.max(smallestPixelSize, Math.min(timeSize, Math.floor(lineHeight / 1.25))),
            weight: Font.DemiBold
        });
    }
    readonly property int timeSize: 40

    readonly property real contentMargin: 40
    readonly property real contentSpacing: 30
    readonly property real buttonSpacing: 20
    readonly property real toggleSpacing: 8
    readonly property real iconLabelSpacing: 6
    readonly property real meterSpacing: scaled(2)
    readonly property real peakMarkWidth: scaled(6)
    readonly property real peakMarkSpacing: scaled(6)
    readonly property real timeMargin: 8
    readonly property real timeSpacing: 2
    readonly property real timeLineWidth: scaled(298)
    readonly property real timeLineHeight: 3
    readonly property real badgeRadius: scaled(12)
    readonly property real badgeHorizontalPadding: scaled(16)
    readonly property real badgeVerticalPadding: scaled(8)
    readonly property real buttonIconSize: scaled(24)
    readonly property real toggleIconWidth: scaled(20)
    readonly property real toggleIconHeight: scaled(16)
    readonly property real toolbarMargin: 8
    readonly property real toolbarSpacing: 8
    readonly property real toolbarButtonSize: scaled(32)
    readonly property real toolbarIconSize: scaled(20)
    readonly property real standardPadding: 16
    readonly property real controlRadius: 6
    readonly property real fieldPadding: 7
    readonly property real pushButtonHorizontalPadding: 16
    readonly property real pushButtonVerticalPadding: 7
    readonly property real pushButtonMinimumWidth: 80
    readonly property real pushButtonSpacing: 16
    readonly property real smallButtonHorizontalPadding: 8
    readonly property real smallButtonVerticalPadding: 4
    readonly property real panelPadding: 12
    readonly property real panelRadius: 8
    readonly property real panelSpacing: 8
    readonly property real captionIconSize: scaled(14)
    readonly property real headingIconSize: scaled(18)
    readonly property real headingSpacing: 10
    readonly property real scrollBarWidth: 6
    readonly property real scrollBarMargin: 3
    readonly property real scrollBarMinimumLength: 30
    readonly property real scrollStep: 40
    readonly property real saveSheetWidth: scaled(400)
    readonly property real sheetPadding: 24
    readonly property real sheetHeaderHorizontalPadding: 20
    readonly property real sheetHeaderVerticalPadding: 16
    readonly property real sectionSpacing: 24
    readonly property real screenMargin: 40
    readonly property real statusDotSize: scaled(8)
    readonly property real deviceRowPadding: 2
    readonly property real mappingRowPadding: 4
    readonly property real mappingRowRadius: 4
    readonly property real mappingColumnSpacing: 4
    readonly property real mappingIconSize: scaled(16)
    readonly property real mappingLabelWidth: scaled(60)
    readonly property real noteNameWidth: Math.max(40, widestNoteName.advanceWidth)
    readonly property real noteNumberWidth: Math.max(35, widestNoteNumber.advanceWidth)
    readonly property real sheetSpacing: 20
    readonly property real librarySheetWidth: scaled(500)
    readonly property real librarySheetHeight: scaled(600)
    readonly property real libraryHeaderPadding: 20
    readonly property real libraryHeaderSpacing: 16
    readonly property real searchSpacing: 12
    readonly property real searchHorizontalPadding: 12
    readonly property real searchVerticalPadding: 8
    readonly property real sortMenuWidth: 140
    readonly property real popUpPadding: 8
    readonly property real popUpChevronSize: scaled(12)
    readonly property real volumeSliderWidth: scaled(60)
    readonly property real sliderGroove: scaled(4)
    readonly property real sliderKnob: scaled(14)
    readonly property real emptyIconSize: scaled(48)
    readonly property real rowSpacing: 12
    readonly property real rowHorizontalPadding: 16
    readonly property real rowVerticalPadding: 12
    readonly property real rowRadius: 8
    readonly property real rowTextSpacing: 4
    readonly property real rowDetailSpacing: 8
    readonly property real rowIconFrame: scaled(24)
    readonly property real rowIconSize: scaled(18)
    readonly property real rowButtonIconSize: scaled(14)
    readonly property real rowButtonSize: scaled(22)
    readonly property real rowButtonSpacing: 4
    readonly property real loadButtonHorizontalPadding: 12
    readonly property real loadButtonVerticalPadding: 6
    readonly property real menuPadding: 4
    readonly property real menuItemHorizontalPadding: 12
    readonly property real menuItemVerticalPadding: 5
    readonly property real menuMinimumWidth: 140
    readonly property real renameSheetWidth: scaled(300)
    readonly property real savePanelWidth: scaled(560)
    readonly property real savePanelHeight: scaled(460)
    readonly property real sheetRadius: 12
    readonly property real alertWidth: scaled(320)
    readonly property real alertMargin: 12
    readonly property real alertPadding: 20
    readonly property real alertSpacing: 14
    readonly property real spinnerSize: scaled(28)
    readonly property real loadingScale: 1.2
    readonly property real focusRingWidth: 2
    readonly property real focusRingGap: 3

    readonly property int stateAnimation: DesktopSettings.reducedMotion ? 0 : 200
    readonly property bool spinnersTurn: !DesktopSettings.reducedMotion
    readonly property int spinnerTurn: 1000
    readonly property int toolTipDelay: 700
    readonly property int progressDelay: 300
    readonly property int peakTime: 1000

    readonly property TextMetrics widestNoteName: TextMetrics {
        font: theme.monospacedBody
        text: "G#-1"
    }
    readonly property TextMetrics widestNoteNumber: TextMetrics {
        font: theme.monospacedCaption
        text: "(127)"
    }

    function shade(light: color, dark: color, strongLight: color, strongDark: color): color {
        if (highContrast)
            return theme.dark ? strongDark : strongLight;
        return theme.dark ? dark : light;
    }

    function faint(opacity: real): color {
        return highContrast ? primaryText : Qt.alpha(primaryText, opacity);
    }

    function icon(symbol: string): url {
        return Qt.resolvedUrl("icons/" + symbol + ".svg");
    }

    function scaled(size: real): real {
        return Math.round(size * scale);
    }

    // The desktop gives the size of its font in points or in pixels; the other one is -1.
    function scaledSystemFont(ratio: real, weight: int, family = ""): font {
        const system = Application.font;
        if (system.pointSize > 0)
            return Qt.font({
                family: family || system.family,
                pointSize: system.pointSize * ratio,
                weight: weight
            });
        return Qt.font({
            family: family || system.family,
            pixelSize: Math.round(system.pixelSize * ratio),
            weight: weight
        });
    }
}
