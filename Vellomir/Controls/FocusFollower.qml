import QtQuick

// Scrolls the item with the keyboard's focus into view. No control of Qt does that.
QtObject {
    id: follower

    required property Flickable page

    readonly property Item focused: page.Window.activeFocusItem
    readonly property real margin: 8

    function isOnPage(item: Item): bool {
        for (let above = item; above !== null; above = above.parent) {
            if (above === page.contentItem)
                return true;
        }
        return false;
    }
    function reveal(item: Item): void {
        const top = item.mapToItem(page.contentItem, 0, 0).y - margin;
        const bottom = top + item.height + 2 * margin;
        if (top < page.contentY)
            page.contentY = Math.max(0, top);
        else if (bottom > page.contentY + page.height)
            page.contentY = Math.min(page.contentHeight, bottom) - page.height;
    }

    onFocusedChanged: {
        if (isOnPage(focused))
            reveal(focused);
    }
}
