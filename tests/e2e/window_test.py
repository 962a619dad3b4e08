"""The main window on a display: tree and grid driven with mouse and keys while traffic runs. What the window shows
is told by its rows of text, which are counted and compared as pictures."""

import veltrane
from pictures import DisplayTest, Window
from traffic import Traffic
from veltrane import Veltrane, listens, retry, wait_for

# Places in the window, in pixels.
ROW = Window.ROW
TREE = Window.TREE
GRID = (258, 108, 125, 288)
LAST_EVENT = (692, 108, 70, 288)
GRID_ROWS = 16
HEADERS = (258, 90, 700, 17)
BYTES_HEADER = (918, 99)
# The entries that show a window: the menu's letter, its own, and the title.
WINDOWS = (
    ("v", "r", "^Real Time Data$"),
    ("v", "m", "^Error$"),
    ("t", "c", "^Configure Veltrane$"),
    ("t", "f", "^Connection Failure Simulation Strategies$"),
    ("t", "r", "^Real Time Logging$"),
    ("t", "o", "^Options$"),
    ("h", "a", "^About Veltrane$"),
    # The last, because it bars the window that it belongs to.
    ("t", "s", "^Save Data$"),
)


class MainWindow(DisplayTest):
    def setUp(self):
        super().setUp()
        self.program = self.enter(Veltrane(platform="xcb"))
        self.traffic = self.enter(Traffic(self.program.store))
        self.program.start(listening=self.traffic.ports)
        self.traffic.start(pause=4)
        self.window = Window(self.screen)
        self.window.choose("v", "e")  # the event history instead of the diagram

    def rows(self, place):
        return self.window.rows(place)

    def wait_for_rows(self, place, count):
        wait_for(lambda: len(self.rows(place)) == count, 15, f"{count} rows at {place}, not {len(self.rows(place))}")

    def columns(self):
        """The picture of the grid's headers."""
        return self.window.grey(*HEADERS)

    def tree_row(self, number, **click):
        self.window.tree_row(number, **click)

    def grid_row(self, number, **click):
        self.window.click(GRID[0] + 40, GRID[1] + ROW // 2 + ROW * number, **click)

    def double_click(self, number, condition, what):
        """On a row of the grid. On a busy machine two clicks may be too far apart for one double click."""
        retry(lambda: self.grid_row(number, repeat=2), condition, what)

    def expect_traffic(self):
        before = self.traffic.replies
        wait_for(lambda: self.traffic.replies > before + 1, 10, "the traffic to go on")

    def test_the_tree_opens_from_the_port_down_to_an_event(self):
        self.wait_for_rows(TREE, 4)
        self.wait_for_rows(GRID, 6)
        self.tree_row(1)  # the port
        self.wait_for_rows(TREE, 5)
        self.wait_for_rows(GRID, 3)
        self.tree_row(2)  # the peer
        self.wait_for_rows(TREE, 8)
        self.tree_row(3)  # the first connection, which has ended
        wait_for(lambda: len(self.rows(TREE)) > 8, 15, "the events")
        self.wait_for_rows(GRID, min(len(self.rows(TREE)) - 8, GRID_ROWS))
        self.tree_row(4)  # its first event
        self.wait_for_rows(GRID, GRID_ROWS)  # more items than are seen
        self.expect_traffic()

    def test_double_clicks_in_the_grid_lead_down_and_the_keys_work_too(self):
        self.wait_for_rows(GRID, 6)
        self.double_click(0, lambda: len(self.rows(TREE)) > 8, "the branch of the connection")
        self.wait_for_rows(GRID, min(len(self.rows(TREE)) - 8, GRID_ROWS))
        connection = self.columns()
        self.double_click(0, lambda: self.columns() != connection, "the two columns of an event's items")
        self.wait_for_rows(GRID, GRID_ROWS)
        before = self.rows(GRID)
        self.window.key("Home")
        wait_for(lambda: self.rows(GRID)[0] != before[0], 15, "the first row to be marked")
        self.assertEqual(self.rows(GRID)[1:], before[1:])
        self.window.key("Return")
        wait_for(lambda: self.screen.windows("^Event Details - #1 "), 15, "the event's window")
        self.expect_traffic()

    def test_windows_that_menus_open_stand_beside_each_other_and_block_no_traffic(self):
        self.window.unfold(1, 2, 3)  # down to a connection, whose data can be saved
        with self.traffic.connect() as client:
            for menu, entry, title in WINDOWS:
                self.assertEqual(self.screen.windows(title), [], title)
                self.window.open(menu, entry, title)
                client.sendall(b"still there?")
                self.assertEqual(client.recv(100), b"STILL THERE?", title)
                with self.traffic.connect(1) as late:
                    late.sendall(b"a new one")
                    self.assertEqual(late.recv(100), b"A NEW ONE", title)
        for _, _, title in WINDOWS:
            self.assertEqual(len(self.screen.windows(title)), 1, title)

    def test_an_open_live_connection_grows_while_it_is_looked_at(self):
        self.window.unfold(1, 2, 5)
        before = len(self.rows(GRID))
        wait_for(lambda: len(self.rows(GRID)) > before, 10, "new events")

    def test_the_rows_of_live_connections_change_and_those_of_dead_ones_stay(self):
        before = self.rows(LAST_EVENT)
        wait_for(lambda: self.rows(LAST_EVENT)[4] != before[4], 10, "a live row to change")
        self.assertEqual(self.rows(LAST_EVENT)[:4], before[:4])

    def test_a_click_on_a_header_sorts_by_text(self):
        before = self.rows(GRID)
        self.window.click(*BYTES_HEADER)
        # As text, 102 comes first and 51 behind 204.
        wait_for(lambda: self.rows(GRID)[0] == before[1], 15, "the connection with 102 bytes on top")
        self.assertEqual(len(self.rows(GRID)), 6)
        # Elsewhere on the header, or it might be a double click.
        self.window.click(BYTES_HEADER[0] - 20, BYTES_HEADER[1])
        wait_for(lambda: self.rows(GRID)[-1] == before[1], 15, "the same at the end")

    def test_a_port_is_stopped_by_its_menu_and_its_connections_go_on(self):
        port = self.traffic.ports[0]
        menu = self.screen.pop_up(lambda: self.tree_row(1, button=3))
        self.screen.key("Down", "Return")
        self.screen.wait_until_gone(menu)
        wait_for(lambda: not listens(port), 15, "the port to stop")
        self.assertEqual(self.program.store.get("Protocols", port), "<Don't use>")
        self.assertTrue(listens(self.traffic.ports[1]))
        self.expect_traffic()

    def test_the_window_closes_and_the_program_ends(self):
        self.window.choose("f", "x")
        wait_for(self.program.ended, 10, "the end")
        self.assertEqual(self.program.process.returncode, 0)


if __name__ == "__main__":
    veltrane.main()
