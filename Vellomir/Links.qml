import QtQuick

// The links of the about sheet. The third address has no slashes after its scheme, deliberately.
ListModel {
    ListElement {
        icon: "link"
        title: "Orsanta Website"
        url: "https://orsanta.example/"
    }
    ListElement {
        icon: "paperplane"
        title: "Telegram Channel"
        url: "https://telegram.orsanta.example/vellomir"
    }
    ListElement {
        icon: "app"
        title: "More Apps"
        url: "https:orsanta.example/otherapps.html"
    }
    ListElement {
        icon: "heart.fill"
        title: "Donate"
        url: "https://donate.orsanta.example/invoice"
    }
}
