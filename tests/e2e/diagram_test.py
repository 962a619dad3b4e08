"""The connection diagram on a display, while real clients and servers talk: it grows, plays, stands still where it
shall, scrolls, and its links can be clicked. What it shows is compared as pictures."""

import socket

import veltrane
from diagram_pictures import echo
from pictures import DisplayTest, Window
from veltrane import Veltrane, free_port, wait_for

# Places in the window, in pixels.
DIAGRAM = (260, 96, 730, 250)
COUNTER = (736, 68, 82, 18)
FIRST_LINK = (471, 197)
NOTHING = (300, 110)


class Diagram(DisplayTest):
    def setUp(self):
        super().setUp()
        self.run_ = self.enter(Veltrane(platform="xcb"))

    def show(self, animate):
        """The diagram of a connection that stands."""
        server = echo()
        self.addCleanup(server.close)
        port = free_port()
        self.run_.store.add_port(port, server="127.0.0.1", server_port=server.getsockname()[1])
        self.run_.store.set("Options", "AnimateConnectionDiagram", int(animate))
        self.run_.start(listening=[port])
        self.client = socket.create_connection(("127.0.0.1", port), timeout=20)
        self.addCleanup(self.client.close)
        self.talk()
        self.window = Window(self.screen)
        self.window.unfold(1, 2, 3)
        self.wait_until_drawn()

    def talk(self):
        self.client.sendall(b"how do you do\n")
        self.assertEqual(self.client.recv(100), b"HOW DO YOU DO\n")

    def picture(self, place=DIAGRAM):
        return self.window.grey(*place)

    def drawn(self):
        """How many pixels of the diagram are not white."""
        return sum(len(line) - line.count(255) for line in self.picture())

    def wait_until_drawn(self):
        wait_for(lambda: self.drawn() > 5000, 10, "the diagram to be drawn")

    def wait_until_still(self):
        wait_for(lambda: self.window.stands(*DIAGRAM), 15, "the diagram to stand still")

    def to_the_end(self):
        before = self.picture()
        self.window.key("End")
        wait_for(lambda: self.picture() != before, 10, "the last rows")
        self.wait_until_still()

    def end(self):
        self.client.close()
        self.assertEqual(self.run_.stop(), (0, ""))

    def test_it_plays_while_it_is_in_view(self):
        self.show(animate=True)
        before = self.picture()
        wait_for(lambda: self.picture() != before, 5, "the animations to go on")
        self.end()

    def test_without_animation_it_stands_still_and_still_follows_the_traffic(self):
        self.show(animate=False)
        self.window.click(*NOTHING)
        self.to_the_end()
        last_rows = self.picture()
        counter = self.picture(COUNTER)
        self.talk()
        wait_for(lambda: self.picture(COUNTER) != counter, 10, "new events to be counted")
        self.assertEqual(self.picture(), last_rows, "the user has scrolled there")
        self.to_the_end()
        self.assertNotEqual(self.picture(), last_rows, "there are new rows below")
        self.end()

    def test_a_click_on_a_link_marks_it_and_counts_its_event(self):
        self.show(animate=False)
        self.wait_until_still()
        before = self.picture()
        counter = self.picture(COUNTER)
        self.window.click(*FIRST_LINK)
        wait_for(lambda: self.picture(COUNTER) != counter, 5, "the event's number")
        wait_for(lambda: self.picture() != before, 5, "the mark")
        self.end()

    def test_wheel_and_keys_scroll_it(self):
        self.show(animate=False)
        # Its left edge, where nothing is drawn: a link would open the window of its event.
        self.window.click(DIAGRAM[0] + 6, DIAGRAM[1] + 6)
        self.wait_until_still()
        top = self.picture()
        self.screen.tool("click", "5")
        wait_for(lambda: self.picture() != top, 5, "the wheel to scroll")
        self.window.key("Home")
        wait_for(lambda: self.picture() == top, 5, "the beginning to come back")
        self.end()


if __name__ == "__main__":
    veltrane.main()
