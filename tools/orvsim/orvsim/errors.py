"""What goes wrong for the user of orvsim."""


class ControlError(Exception):
    """A command of orvsim that cannot be done; the message is for its user."""
