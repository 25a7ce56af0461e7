// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Look/LookFixture.h"
#include "Look/Scenes.h"
#include "Support/Loopback.h"

#include <QMenu>
#include <QToolTip>

using namespace Qt::Literals::StringLiterals;

namespace {

/// A library with difficult names.
struct Names
{
    QString name;
    QStringList folders;
    QStringList titles;
};

QList<Names> allNames()
{
    const QString endless = u"A panorama of the harbour at the blue hour with all of its ships, "_s;
    return {
        {u"short"_s, {u"A"_s, u"B"_s, u"C"_s, u"I"_s}, {u"a"_s, u"b"_s, u"Q"_s, u"."_s, u"1"_s}},
        {u"long"_s,
         {u"Recordings of the second rehearsal in the large hall, upper balcony, camera four"_s,
          u"Loops_without_any_blank_that_a_line_could_be_broken_at_so_that_it_has_to_be_cut"_s,
          endless + endless + endless, u"Medium length of name"_s},
         {endless + u"take 1"_s, endless + u"take 2"_s, endless + endless + u"last take.mov"_s,
          u"Harbour_at_night_final_version_2_really_final_graded_rec709_25p.mov"_s,
          u"Twelve words are a few too many for a row this small, indeed"_s}},
        {u"cyrillic"_s,
         {u"Вступление"_s, u"Пейзажи северных морей"_s, u"Щёлкающие циклы"_s, u"Финал"_s},
         {u"Закат"_s, u"Гавань ночью"_s, u"Дождь на стекле"_s, u"Подъём"_s, u"Їжак"_s}},
        {u"arabic"_s,
         {u"مقدمة"_s, u"مناظر طبيعية"_s, u"حلقات متكررة"_s, u"الختام"_s},
         {u"غروب الشمس"_s, u"الميناء ليلا"_s, u"مطر على الزجاج"_s, u"جسر قديم"_s, u"ضباب 2"_s}},
        {u"cjk"_s,
         {u"序幕"_s, u"北海道の風景"_s, u"循环素材"_s, u"마지막 장면"_s},
         {u"夕日"_s, u"夜の港"_s, u"玻璃上的雨滴"_s, u"高山草甸"_s, u"등대.mov"_s}},
    };
}

QList<Server> serversOf(const Names &names)
{
    const Server left = stageServer(names.titles.first().left(60), 1, names.folders, names.titles);
    return {left, differingServer(left, names.folders[1].left(60), 2)};
}

/// The folders level and the slots level of the same servers in a view.
QList<Scene> levels(const QString &name, const std::function<QList<Server>()> &servers,
                    const View &view, bool golden = false)
{
    const auto folders = [servers, view] { return LookFixture(servers(), view).picture(); };
    const auto slotRows = [servers, view] {
        LookFixture fixture(servers(), view);
        if (!fixture.open(1))
            return QImage();
        fixture.bankA().selectRows({4});
        fixture.bankB().selectRows({4});
        return fixture.picture();
    };
    return {{name + u"-folders-"_s + view.name(), folders, golden},
            {name + u"-slots-"_s + view.name(), slotRows, golden}};
}

QList<Server> fullServers()
{
    QStringList names;
    QStringList titles;
    for (int i = 0; i < 256; ++i)
        names.append(u"Folder number %1"_s.arg(i));
    for (int i = 0; i < 255; ++i)
        titles.append(u"Visual %1 of many"_s.arg(i + 1));
    Server left = stageServer(u"Full left"_s, 1, names, titles);
    Server right = left;
    right.uuid = QUuid::createUuidV5(QUuid(), u"Full right"_s);
    right.name = u"Full right"_s;
    right.connections.first().first = QHostAddress(loopback(2));
    return {left, right};
}

QImage takeMenu(const char *name)
{
    LookFixture fixture(usualServers());
    auto &menu = fixture.find<QMenu>(name);
    menu.popup(fixture.window->mapToGlobal(QPoint(4, 22)));
    menu.setActiveAction(menu.actions().first());
    return screenPicture();
}

QImage takeServerList()
{
    QList<Server> servers = usualServers();
    for (int i = 3; i < 9; ++i)
        servers.append(differingServer(servers.first(), u"Media server %1"_s.arg(i), i));
    servers.append(differingServer(
        servers.first(), u"A server whose name is longer than the box that it is chosen in"_s, 9));
    LookFixture fixture(servers);
    childOf<QComboBox>(fixture.bankA(), "serverComboBox").showPopup();
    return screenPicture();
}

QImage takeToolTip()
{
    LookFixture fixture(usualServers());
    auto &arrow = fixture.find<QWidget>("leftToRightButton");
    QToolTip::showText(arrow.mapToGlobal(QPoint(30, 60)), arrow.toolTip(), &arrow);
    const QImage picture = screenPicture();
    QToolTip::hideText();
    return picture;
}

/// Several selected rows of a folder, with the focus in the list.
QImage takeSelection()
{
    LookFixture fixture(usualServers());
    if (!fixture.open(1))
        return {};
    MediaListWidget &list = listOf(fixture.bankA());
    list.setFocus();
    clickRow(fixture.bankA(), 3);
    clickRow(fixture.bankA(), 6, Qt::ShiftModifier);
    return fixture.picture();
}

QImage takePointedRow()
{
    LookFixture fixture(usualServers());
    MediaListWidget &list = listOf(fixture.bankA());
    QTest::mouseMove(list.viewport(), list.visualItemRect(list.item(2)).center());
    QCoreApplication::processEvents();
    return fixture.picture();
}

/// During the download of thumbnails both banks are disabled.
QImage takeWaiting()
{
    LookFixture fixture(usualServers());
    if (!fixture.open(1))
        return {};
    fixture.bankA().setEnabled(false);
    fixture.bankB().setEnabled(false);
    return fixture.picture();
}

QImage takeLargeWindow()
{
    LookFixture fixture(usualServers(), {false, 2});
    fixture.window->resize(1800, 1000);
    return fixture.open(0) ? fixture.picture() : QImage();
}

QList<Server> equalServers()
{
    QList<Server> servers = usualServers();
    servers[1].folders = servers[0].folders;
    servers[1].hash = servers[0].hash;
    return servers;
}

QList<Scene> singleScenes()
{
    const auto show = [](auto servers) {
        return [servers] { return LookFixture(servers()).picture(); };
    };
    return {
        {u"no-server"_s, show([] { return QList<Server>(); }), true},
        {u"one-server"_s, show([] { return usualServers().mid(0, 1); }), true},
        {u"equal-servers"_s, show(equalServers)},
        {u"menu-file"_s, [] { return takeMenu("menuFile"); }, true},
        {u"menu-help"_s, [] { return takeMenu("menuHelp"); }},
        {u"server-list"_s, takeServerList, true},
        {u"tool-tip"_s, takeToolTip, true},
        {u"selection"_s, takeSelection},
        {u"pointed-row"_s, takePointedRow},
        {u"waiting"_s, takeWaiting},
        {u"large-window"_s, takeLargeWindow},
    };
}

} // namespace

QList<Scene> windowScenes()
{
    QList<Scene> scenes;
    for (const View &view : allViews())
        scenes += levels(u"window"_s, usualServers, view, true);
    scenes += singleScenes();
    for (const Names &names : allNames()) {
        for (const View &view : {View{true, 1}, View{false, 0}, View{false, 1}, View{false, 2}})
            scenes += levels(
                u"names-"_s + names.name, [names] { return serversOf(names); }, view);
    }
    for (const View &view : {View{true, 1}, View{false, 2}})
        scenes += levels(u"full"_s, fullServers, view);
    return scenes;
}
