"""The one exception of the module: a library status."""


class Error(Exception):
    """A failing status of the library.

    code is the negative status the library returned (-510 for a bad VOI, -24 for a bad window
    ...), text the library's message for it (GetStatusText), as the workstation shows it.
    """

    def __init__(self, code, text=None):
        if text is None:
            from ._core import GetStatusText
            text = GetStatusText(code)
        super().__init__(code, text)
        self.code = code
        self.text = text

    def __str__(self):
        return f"{self.text} (status {self.code})"
